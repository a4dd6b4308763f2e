#pragma once
// The IP filter: read by whoever may read the HSM's information, changed by an operator.

#include "service/dispatch_table.h"

namespace sim {

void RegisterIpFilterService(DispatchTable &table);

}  // namespace sim
