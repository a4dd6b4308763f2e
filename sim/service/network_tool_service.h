#pragma once
// The network tools the HSM runs for whoever may read its information: ping and trace-route.

#include "service/dispatch_table.h"

namespace sim {

void RegisterNetworkToolService(DispatchTable &table);

}  // namespace sim
