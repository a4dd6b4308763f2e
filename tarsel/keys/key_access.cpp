// UseDefaultKeyAccess: decided by the user's M of N setting.
#include "keys/key_access.h"

#include <cstring>

#include "app/process_state.h"
#include "console/prompts.h"

namespace {
// User types of the M of N record.
constexpr uint32_t kTypeAuthorizedByCards = 2;
constexpr uint32_t kTypeLocalOnly = 3;
constexpr uint32_t kTypeAuthorizedSession = 4;
constexpr uint32_t kFlagDefaultAccess = 0x4;
}  // namespace

bool UseDefaultKeyAccess(QSessionHandle session) {
    uint32_t acl = 0;
    uint32_t status = QGetUserAcl(session, gState.userId, &acl);
    if (status == 0 && (acl & Q_ACL_MOFN_LOCAL) == 0) return true;
    QUserAuthRecord record{};
    if (status == 0) {
        memcpy(record.userId, gState.userId, sizeof record.userId - 1);
        uint32_t length = sizeof record;
        status = QGetUserParam(session, Q_USER_PARAM_AUTH, &record, &length, 0);
    }
    if (status != 0) {
        PrintError("Error retrieving user acl.", status);
        return true;
    }
    const uint32_t type = record.mofnState;
    if ((record.permissionMask & kFlagDefaultAccess) != 0 && type == kTypeAuthorizedSession) {
        return true;
    }
    return type != kTypeAuthorizedByCards && type != kTypeAuthorizedSession &&
           type != kTypeLocalOnly;
}

uint32_t KeyOpenOption(QSessionHandle session) {
    return UseDefaultKeyAccess(session) ? Q_KEY_OPEN_DEFAULT : Q_KEY_OPEN_MOFN;
}
