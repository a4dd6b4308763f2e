#include "service/network_tool_service.h"

#include "platform/network_tool.h"
#include "service/node_list_tool.h"

namespace sim {

namespace {

// The library's tool codes.
constexpr uint32_t kPingCode = 1;
constexpr uint32_t kTraceRouteCode = 2;
constexpr uint32_t kNodeListCode = 100;

Result HandleRunNetworkTool(Call &call, const pb::RunNetworkTool &request,
                            pb::RunNetworkToolReply *reply) {
    if (request.tool() == kNodeListCode) return ListDomainNodes(call.hsm, reply);
    if (request.tool() != kPingCode && request.tool() != kTraceRouteCode)
        return Result::kNotSupported;
    if (!IsNetworkToolTarget(request.target())) return Result::kToolTarget;
    std::optional<std::string> output =
        RunNetworkTool(request.tool() == kPingCode ? NetworkTool::kPing : NetworkTool::kTraceRoute,
                       request.target());
    if (!output) return Result::kToolUnavailable;
    reply->set_output(std::move(*output));
    return Result::kOk;
}

}  // namespace

void RegisterNetworkToolService(DispatchTable &table) {
    table.Add<&pb::Request::run_network_tool, &pb::Response::mutable_run_network_tool>(
        HandleRunNetworkTool, Needs::Acl(pb::ACL_REMOTE_INFO), kNormalSessions);
}

}  // namespace sim
