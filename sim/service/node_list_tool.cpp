#include "service/node_list_tool.h"

#include <memory>

#include "replication/node_channel.h"
#include "replication/replicator.h"

namespace sim {

namespace {

void AskNode(const NodeEndpoint &self, const SecretBytes &key, wire::pb::ListedNode *node) {
    std::unique_ptr<NodeLink> link;
    Result result = NodeLink::Open(self, key, node->address(), &link);
    wire::pb::NodeResponse response;
    if (result == Result::kOk) {
        wire::pb::NodeRequest request;
        request.mutable_node_pulse();
        result = link->Call(request, &response);
    }
    if (result != Result::kOk) {
        node->set_status(ToWireStatus(result));
        return;
    }
    node->set_sync_point(response.node_pulse().sync_point());
    *node->mutable_nodes() = response.node_pulse().nodes();
}

}  // namespace

Result ListDomainNodes(HsmContext &hsm, wire::pb::RunNetworkToolReply *reply) {
    if (hsm.replication == nullptr || hsm.nodeEndpoint == nullptr) return Result::kNotSupported;
    const ReplicationView view = hsm.replication->View();
    wire::pb::ListedNode *self = reply->add_nodes();
    self->set_address(hsm.replication->address());
    self->set_self(true);
    self->set_sync_point(view.syncPoint);
    for (const std::string &address : view.nodes)
        self->add_nodes(address);
    const SecretBytes key = NodeKey(hsm.masterKey);
    for (const std::string &address : view.nodes) {
        wire::pb::ListedNode *node = reply->add_nodes();
        node->set_address(address);
        AskNode(*hsm.nodeEndpoint, key, node);
    }
    return Result::kOk;
}

}  // namespace sim
