#pragma once
// "HSM - Tools": network tools run on the HSM itself, with the menu handler's signature.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// "Ping" and "Tracert": ask for a target, run the tool on the HSM, print what it printed.
int32_t PingAction(QSessionHandle session, const MenuItem &item);
int32_t TraceRouteAction(QSessionHandle session, const MenuItem &item);

// Runs `tool` (Q_TOOL_*) on the HSM, asking a target for all but the node list, and prints
// its output or the node list. 0, 1 when cancelled, or the library's code.
int32_t RunHsmTool(QSessionHandle session, uint32_t tool);
