#pragma once
// Every request the simulator serves, each registered by the service that handles it.

#include "service/dispatch_table.h"

namespace sim {

// Built once, on first use; shared by all connections.
const DispatchTable &ServiceTable();

}  // namespace sim
