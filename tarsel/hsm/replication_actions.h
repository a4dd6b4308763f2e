#pragma once
// The items of "HSM - Replication" and "HSM - Replication - Nodes" that act on the domain.
// Each prints its own result and returns 0, 1 when cancelled, or the library's code.

#include <cstdint>
#include <string>
#include <vector>

#include "console/menu.h"
#include "qelvoarc.h"

// "List": every node of the domain as this HSM finds it.
int32_t ListNodes(QSessionHandle session, const MenuItem &item);
int32_t AddNode(QSessionHandle session, const MenuItem &item);
int32_t DeleteNode(QSessionHandle session, const MenuItem &item);
int32_t NotifyNodeDown(QSessionHandle session, const MenuItem &item);
int32_t TestNode(QSessionHandle session, const MenuItem &item);
int32_t RefreshReplication(QSessionHandle session, const MenuItem &item);
int32_t CrossCheckNodes(QSessionHandle session, const MenuItem &item);

// Operation 34 with `operation` (1 test .. 4 delete) on the dotted address `address`.
uint32_t ReplicationNodeOperation(QSessionHandle session, uint8_t operation, const char *address);
// The HSM's node list (information kind 256); 0 or the library's code.
uint32_t ReadReplicationNodes(QSessionHandle session, std::vector<std::string> *nodes);
// The same, reporting a failure as "Error recovering HSM info.".
uint32_t ReadNodesOrReport(QSessionHandle session, std::vector<std::string> *nodes);
