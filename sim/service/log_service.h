#pragma once
// The event log as the device library reads it: its size, reads by offset, downloads in the
// three forms, the clear and the follow of new lines.

#include "service/dispatch_table.h"

namespace sim {

void RegisterLogService(DispatchTable &table);

}  // namespace sim
