#pragma once
// The EFT daemon's configuration: read by any user, host commands authorized only by
// partition eftd0's own user, lengths and reset by operators. Every change is logged.

#include "service/dispatch_table.h"

namespace sim {

void RegisterEftdConfigService(DispatchTable &table);

}  // namespace sim
