#pragma once
// Information about the HSM and the liveness check.

#include "service/dispatch_table.h"

namespace sim {

void RegisterInformationService(DispatchTable &table);

}  // namespace sim
