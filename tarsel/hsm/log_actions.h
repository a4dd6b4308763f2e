#pragma once
// The actions of the menu "HSM - Logs", and "Hardware logs" of the main menu.

#include <cstdint>

#include "console/menu.h"

int32_t RetrieveLogs(QSessionHandle session, const MenuItem &item);
// The zipped package: the event log and the hardware log, kept as the archive it is.
int32_t RetrieveZippedLogs(QSessionHandle session, const MenuItem &item);
int32_t ClearLogs(QSessionHandle session, const MenuItem &item);
// Returns only when the session ends: Control+C ends the console.
int32_t FollowLogs(QSessionHandle session, const MenuItem &item);
