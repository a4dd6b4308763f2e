// "Trust Relations": whom a user trusts with its objects, and who trusts it.
#include <cstdint>

#include "admin/user_actions.h"
#include "admin/user_dialogs.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr uint32_t kTrustees = 1;
constexpr uint32_t kTrusters = 2;

uint32_t PrintName(const char *name, void *context, int isFinal) {
    if (!isFinal) {
        OutPrintf(" %s\n", name);
        ++*static_cast<int *>(context);
    }
    return Q_OK;
}

// Lists one direction under `heading`. Returns 0 or the library's code.
uint32_t ListTrusts(QSessionHandle session, const char *userId, uint32_t direction,
                    const char *heading) {
    OutPrintf("\n%s\n\n", heading);
    int count = 0;
    const uint32_t rc = QListUserTrusts(session, userId, direction, PrintName, &count, 0);
    if (rc != Q_OK) {
        PrintError("Error listing trust relations.", rc);
        return rc;
    }
    OutPrintf("\n%s%d\n", "Total: ", count);
    return Q_OK;
}

}  // namespace

int32_t ShowTrustRelations(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char userId[kUserIdBuffer] = {};
    if (!ReadUserId(userId)) return kPromptCancelled;
    uint32_t rc = ListTrusts(session, userId, kTrustees, "Trustees:");
    if (rc == Q_OK) rc = ListTrusts(session, userId, kTrusters, "Trusters:");
    return int32_t(rc);
}
