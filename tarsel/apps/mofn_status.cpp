#include "apps/mofn_status.h"

#include <cstring>

#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr int kLabelWidth = 21;
constexpr int kDetailWidth = 18;

struct NamedBit {
    uint32_t bit;
    const char *name;
};

constexpr NamedBit kPermissionNames[] = {
    {0x02, "Read"},  {0x04, "Export"},           {0x01, "Destroy"},
    {0x08, "Block"}, {0x10, "Partition Remove"},
};

}  // namespace

const char *MofNStateName(uint32_t state) {
    static constexpr const char *kNames[] = {"State unknown - Error", "No M of N enabled",
                                             "Initial", "Associated", "Authorized"};
    return state < sizeof kNames / sizeof kNames[0] ? kNames[state] : "Invalid state";
}

const char *MofNPermissionList(uint32_t mask, char *text) {
    text[0] = '\0';
    for (const NamedBit &permission : kPermissionNames) {
        if ((mask & permission.bit) == 0) continue;
        if (text[0] != '\0') strcat(text, ", ");
        strcat(text, permission.name);
    }
    if (text[0] == '\0') strcpy(text, "None");
    return text;
}

uint32_t ShowMofNStatus(QSessionHandle session, const char *userId, uint32_t acl) {
    const bool enabled = (acl & Q_ACL_MOFN_LOCAL) != 0;
    OutPrintf("%-*s - %s\n", kLabelWidth, "Partition M of N auth", enabled ? "yes" : "no");
    if (!enabled) return Q_OK;

    QUserAuthRecord record{};
    strncpy(record.userId, userId, sizeof record.userId - 1);
    uint32_t length = sizeof record;
    const uint32_t rc = QGetUserParam(session, Q_USER_PARAM_AUTH, &record, &length, 0);
    if (rc != Q_OK) {
        PrintError("Error retrieving user acl.", rc);
        return rc;
    }
    const char *state =
        gState.sessionAuthorized ? "Session Authorized" : MofNStateName(record.mofnState);
    char permissions[64];
    OutPrintf("   %-*s - %s\n", kDetailWidth, "State", state);
    OutPrintf("   %-*s - %s\n", kDetailWidth, "Permissions",
              MofNPermissionList(record.permissionMask, permissions));
    return Q_OK;
}
