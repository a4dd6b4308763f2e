#pragma once
// "HSM - Tools": network tools run on the HSM itself, with the menu handler's signature.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// "Ping" and "Tracert": ask for a target, run the tool on the HSM, print what it printed.
int32_t PingAction(QSessionHandle session, const MenuItem &item);
int32_t TraceRouteAction(QSessionHandle session, const MenuItem &item);
