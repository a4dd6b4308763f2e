// "Ping" and "Tracert" of "HSM - Tools".
#include "apps/tool_actions.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr size_t kTargetBuffer = 255;

int32_t RunHsmTool(QSessionHandle session, const MenuItem &item, uint32_t tool) {
    PrintActionHeading(item);
    char target[kTargetBuffer] = {};
    if (!ReadLineOrCancel("Target : ", target, sizeof target))
        return static_cast<int32_t>(kPromptCancelled);
    uint8_t *result = nullptr;
    uint32_t length = 0;
    const uint32_t rc = QHSMTool(session, tool, target, &result, &length, 0);
    if (rc != Q_OK) {
        PrintError("Error executing HSM tools.", rc);
        return static_cast<int32_t>(rc);
    }
    OutPrintf("\n%s\n", reinterpret_cast<const char *>(result));
    QFree(result);
    return 0;
}

}  // namespace

int32_t PingAction(QSessionHandle session, const MenuItem &item) {
    return RunHsmTool(session, item, Q_TOOL_PING);
}

int32_t TraceRouteAction(QSessionHandle session, const MenuItem &item) {
    return RunHsmTool(session, item, Q_TOOL_TRACEROUTE);
}
