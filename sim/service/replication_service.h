#pragma once
// The operator's side of the replication domain: refresh, the node operations, the node list
// with each node's own list (tool 100), and the replication part of the information record.

#include "info.pb.h"
#include "service/dispatch_table.h"

namespace sim {

void RegisterReplicationService(DispatchTable &table);

// The replication status of the information record; all zero ("Zeroed") without replication.
void FillReplicationStatus(HsmContext &hsm, pb::ReplicationStatus *status);

}  // namespace sim
