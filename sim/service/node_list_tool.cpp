#include "service/node_list_tool.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <system_error>
#include <thread>
#include <vector>

#include "replication/node_channel.h"
#include "replication/replicator.h"

namespace sim {

namespace {

// A stopped node costs the whole node timeout, so the nodes are asked at once; a list holds at
// most 255, and this many connections at a time keep the HSM's descriptors for its clients.
constexpr size_t kNodesAskedAtOnce = 16;

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

// Fills each record of `nodes` (its address set) from its node, several nodes at a time.
void AskNodes(const NodeEndpoint &self, const SecretBytes &key,
              std::vector<wire::pb::ListedNode> &nodes) {
    std::atomic<size_t> next{0};
    auto work = [&] {
        for (size_t i = next++; i < nodes.size(); i = next++) {
            try {
                AskNode(self, key, &nodes[i]);
            } catch (const std::exception &) {
                nodes[i].set_status(ToWireStatus(Result::kInternal));
            }
        }
    };
    // This thread asks too; if the system grants fewer threads, the ones there ask the rest.
    std::vector<std::thread> workers;
    try {
        while (workers.size() + 1 < std::min(nodes.size(), kNodesAskedAtOnce))
            workers.emplace_back(work);
    } catch (const std::system_error &) {
    }
    work();
    for (std::thread &worker : workers)
        worker.join();
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
    std::vector<wire::pb::ListedNode> nodes(view.nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i)
        nodes[i].set_address(view.nodes[i]);
    AskNodes(*hsm.nodeEndpoint, NodeKey(hsm.masterKey), nodes);
    for (wire::pb::ListedNode &node : nodes)
        *reply->add_nodes() = std::move(node);
    return Result::kOk;
}

}  // namespace sim
