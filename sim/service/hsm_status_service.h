#pragma once
// The state of the HSM as its information screen shows it: the information record, uptime
// and battery, clock, replication nodes and the PKCS#11 information.

#include "service/dispatch_table.h"

namespace sim {

void RegisterHsmStatusService(DispatchTable &table);

}  // namespace sim
