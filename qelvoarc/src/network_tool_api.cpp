// The network tools the HSM runs: ping and trace-route.

#include <string>

#include "abi_guard.h"
#include "library_memory.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

[[nodiscard]] uint32_t RunTool(QSessionHandle handle, uint32_t tool, const char *target,
                               uint8_t **result, uint32_t *resultLength) {
    if (tool != Q_TOOL_PING && tool != Q_TOOL_TRACEROUTE)
        return Refuse(handle, wire::ERR_NOT_SUPPORTED);
    if (target == nullptr || result == nullptr || resultLength == nullptr)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
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
