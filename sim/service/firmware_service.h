#pragma once
// Firmware update packages sent to the HSM.

#include "service/dispatch_table.h"

namespace sim {

void RegisterFirmwareService(DispatchTable &table);

}  // namespace sim
