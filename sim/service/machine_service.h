#pragma once
// What the machine under the HSM measures and runs: resource figures, network
// configuration, loaded modules and the open sessions.

#include "service/dispatch_table.h"

namespace sim {

void RegisterMachineService(DispatchTable &table);

}  // namespace sim
