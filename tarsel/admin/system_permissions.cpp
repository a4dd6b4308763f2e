#include "admin/system_permissions.h"

#include "console/prompts.h"
#include "console/terminal.h"
#include "qelvoarc.h"

namespace {

struct Permission {
    const char *label;
    uint32_t bit;
};

constexpr Permission kPermissions[] = {
    {"Create/Remove Users", Q_ACL_CREATE_USERS}, {"List Users", Q_ACL_LIST_USERS},
    {"Remote Info", Q_ACL_REMOTE_INFO},          {"Backup/Restore", Q_ACL_BACKUP},
    {"Firmware Update", Q_ACL_FIRMWARE},
};

}  // namespace

void PrintSystemPermissionsHeading() {
    OutPrintf("\n%s\n", "System permissions: ");
}

void AskPermissions(uint32_t allowed, uint32_t *acl) {
    const bool mayGrantAll = (allowed & Q_ACL_OPERATOR) != 0;
    for (const Permission &permission : kPermissions) {
        bool granted = false;
        if (mayGrantAll || (allowed & permission.bit) != 0) {
            granted = AskYesNoWithDefault(permission.label, (*acl & permission.bit) != 0) == 1;
        } else {
            OutPrintf("%s: %s\n", permission.label, "no");
        }
        *acl = granted ? (*acl | permission.bit) : (*acl & ~permission.bit);
    }
}

void ShowSystemPermissions(uint32_t acl) {
    PrintSystemPermissionsHeading();
    for (const Permission &permission : kPermissions) {
        OutPrintf("%-21s - %s\n", permission.label, (acl & permission.bit) != 0 ? "yes" : "no");
    }
}
