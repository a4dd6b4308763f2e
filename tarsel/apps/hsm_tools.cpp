// "Ping" and "Tracert" of "HSM - Tools", and the tool run they share with the node list.
#include "apps/tool_actions.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "hsm/node_list.h"

namespace {

constexpr size_t kTargetBuffer = 255;

}  // namespace

int32_t RunHsmTool(QSessionHandle session, uint32_t tool) {
    char target[kTargetBuffer] = {};
    if (tool != Q_TOOL_NODE_LIST && !ReadLineOrCancel("Target : ", target, sizeof target))
        return static_cast<int32_t>(kPromptCancelled);
    uint8_t *result = nullptr;
    uint32_t length = 0;
    const uint32_t rc = QHSMTool(session, tool, target, &result, &length, 0);
    if (rc != Q_OK) {
        PrintError("Error executing HSM tools.", rc);
        return static_cast<int32_t>(rc);
    }
    if (tool != Q_TOOL_NODE_LIST)
        OutPrintf("\n%s\n", reinterpret_cast<const char *>(result));
    else if (length != 0)
        PrintNodeList(reinterpret_cast<const QNodeRecord *>(result), length / sizeof(QNodeRecord));
    QFree(result);
    return 0;
}

int32_t PingAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    return RunHsmTool(session, Q_TOOL_PING);
}

int32_t TraceRouteAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    return RunHsmTool(session, Q_TOOL_TRACEROUTE);
}
