#pragma once
// The node list tool: what this HSM and each node of its replication domain hold, asked of
// every node over the node-to-node channel, so an operator sees a node that lacks a peer or
// lags behind without logging in to each one.

#include "core/result.h"
#include "network.pb.h"
#include "service/hsm_context.h"

namespace sim {

// Fills `reply->nodes()` with this HSM first, then each node of its list in order; a node
// that cannot be asked carries its status and nothing else. kNotSupported when the HSM
// serves no other nodes.
Result ListDomainNodes(HsmContext &hsm, wire::pb::RunNetworkToolReply *reply);

}  // namespace sim
