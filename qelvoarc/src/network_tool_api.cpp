// The network tools the HSM runs: ping, trace-route and the node list.

#include <arpa/inet.h>

#include <cstdio>
#include <string>
#include <vector>

#include "abi_guard.h"
#include "library_memory.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

QNodeRecord ToNodeRecord(const pb::ListedNode &node) {
    QNodeRecord record{};
    node.address().copy(record.address, sizeof record.address - 1);
    record.status = node.status();
    record.self = node.self() ? 1 : 0;
    record.nodeCount = static_cast<uint32_t>(node.nodes_size());
    std::snprintf(record.version, sizeof record.version, "%llu",
                  static_cast<unsigned long long>(node.sync_point()));
    for (int i = 0; i < node.nodes_size() && i < int(Q_NODE_RECORD_LISTED); ++i)
        inet_pton(AF_INET, node.nodes(i).c_str(), record.nodes[i]);
    return record;
}

[[nodiscard]] uint32_t ListNodes(QSessionHandle handle, uint8_t **result, uint32_t *resultLength) {
    pb::RunNetworkTool request;
    request.set_tool(Q_TOOL_NODE_LIST);
    std::vector<QNodeRecord> records;
    const uint32_t status = Remote<pb::RunNetworkToolReply>(
        handle, std::move(request), [&](const pb::RunNetworkToolReply &reply) {
            for (const pb::ListedNode &node : reply.nodes())
                records.push_back(ToNodeRecord(node));
        });
    if (status != wire::OK) return status;
    return HandOutBytes(std::string_view(reinterpret_cast<const char *>(records.data()),
                                         records.size() * sizeof(QNodeRecord)),
                        result, resultLength);
}

[[nodiscard]] uint32_t RunTool(QSessionHandle handle, uint32_t tool, const char *target,
                               uint8_t **result, uint32_t *resultLength) {
    if (tool != Q_TOOL_PING && tool != Q_TOOL_TRACEROUTE && tool != Q_TOOL_NODE_LIST)
        return Refuse(handle, wire::ERR_NOT_SUPPORTED);
    if ((target == nullptr && tool != Q_TOOL_NODE_LIST) || result == nullptr ||
        resultLength == nullptr)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    if (tool == Q_TOOL_NODE_LIST) return ListNodes(handle, result, resultLength);
    pb::RunNetworkTool request;
    request.set_tool(tool);
    request.set_target(target);
    std::string output;
    const uint32_t status = Remote<pb::RunNetworkToolReply>(
        handle, std::move(request),
        [&](const pb::RunNetworkToolReply &reply) { output = reply.output(); });
    if (status != wire::OK) return status;
    // Terminated, so the caller can print it as text.
    void *copy = CopyToLibraryMemory(output.c_str(), output.size() + 1);
    if (copy == nullptr) return wire::ERR_NO_MEMORY;
    *result = static_cast<uint8_t *>(copy);
    *resultLength = static_cast<uint32_t>(output.size());
    return wire::OK;
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QHSMTool(QSessionHandle session, uint32_t tool, const char *target, uint8_t **result,
                  uint32_t *resultLength, uint32_t) {
    return Guarded([&] { return qelvoarc::RunTool(session, tool, target, result, resultLength); });
}

}  // extern "C"
