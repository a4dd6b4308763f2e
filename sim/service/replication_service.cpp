#include "service/replication_service.h"

#include "replication/replicator.h"

namespace sim {

namespace {

constexpr const char *kBindInterface = "lo";

std::string EventOutcome(Result result) {
    return result == Result::kOk ? "ok" : wire::StatusText(ToWireStatus(result));
}

Result HandleRefresh(Call &call, const pb::RefreshReplication &, pb::RefreshReplicationReply *) {
    if (call.hsm.replication == nullptr) return Result::kNotSupported;
    Result result = call.hsm.replication->Refresh();
    call.hsm.events.Record(call.actor(), "Replication refresh", EventOutcome(result));
    return result;
}

Result HandleNodeOperation(Call &call, const pb::NodeOperation &operation,
                           pb::NodeOperationReply *) {
    Replicator *replication = call.hsm.replication;
    if (replication == nullptr) return Result::kNotSupported;
    if (!IsNodeAddress(operation.address())) return Result::kInvalidParameter;
    const std::string &address = operation.address();
    Result result = Result::kInvalidParameter;
    const char *what = "Replication node";
    switch (operation.kind()) {
        case pb::NODE_TEST:
            return replication->TestNode(address);
        case pb::NODE_NOTIFY_DOWN:
            result = replication->NotifyNodeDown(address);
            what = "Replication node down";
            break;
        case pb::NODE_ADD:
            result = replication->AddNode(address);
            what = "Replication node add";
            break;
        case pb::NODE_DELETE:
            result = replication->DeleteNode(address);
            what = "Replication node delete";
            break;
        default:
            return Result::kInvalidParameter;
    }
    call.hsm.events.Record(call.actor(), std::string(what) + ": " + address, EventOutcome(result));
    return result;
}

Result HandleGetReplicationNodes(Call &call, const pb::GetReplicationNodes &,
                                 pb::GetReplicationNodesReply *reply) {
    if (call.hsm.replication == nullptr) return Result::kOk;
    for (const std::string &node : call.hsm.replication->Nodes())
        reply->add_nodes(node);
    return Result::kOk;
}

// A node's hello is taken by the connection before the dispatcher when this HSM serves other
// nodes over TLS; one that reaches the table has nothing to talk to.
Result HandleNodeHello(Call &, const pb::NodeHello &, pb::NodeHelloReply *) {
    return Result::kNotSupported;
}

}  // namespace

void FillReplicationStatus(HsmContext &hsm, pb::ReplicationStatus *status) {
    if (hsm.replication == nullptr) return;
    const ReplicationView view = hsm.replication->View();
    status->set_pending_transactions(view.pendingTransaction);
    status->set_when(view.when);
    status->set_state(view.state);
    status->set_joined_domain(view.joined);
    status->set_sync_point(view.syncPoint);
    status->set_sync_counter(view.syncCounter & 0xFFFF);
    status->set_manager_pulsing(true);
    status->set_manager_interval(view.managerSeconds);
    status->set_recovery_pulsing(true);
    status->set_recovery_interval(view.recoverySeconds);
    auto *bind = status->add_binds();
    bind->set_interface_name(kBindInterface);
    bind->set_address(view.bindAddress);
}

void RegisterReplicationService(DispatchTable &table) {
    table.Add<&pb::Request::refresh_replication, &pb::Response::mutable_refresh_replication>(
        HandleRefresh, Needs::Operator(), kNormalSessions);
    table.Add<&pb::Request::node_operation, &pb::Response::mutable_node_operation>(
        HandleNodeOperation, Needs::Operator(), kNormalSessions);
    table.Add<&pb::Request::get_replication_nodes, &pb::Response::mutable_get_replication_nodes>(
        HandleGetReplicationNodes, Needs::Acl(pb::ACL_REMOTE_INFO),
        kNormalSessions | kAfterRestore);
    table.Add<&pb::Request::node_hello, &pb::Response::mutable_node_hello>(
        HandleNodeHello, Needs::Nothing(), kNormalSessions);
}

}  // namespace sim
