// "Attributes": an account's summary; an operator may then change another account.
#include <cstring>

#include "admin/system_permissions.h"
#include "admin/user_actions.h"
#include "admin/user_changes.h"
#include "admin/user_dialogs.h"
#include "admin/user_summary.h"
#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

struct Target {
    char userId[kUserIdBuffer];
    uint32_t acl;
    bool blocked;

    bool IsOperator() const { return (acl & Q_ACL_OPERATOR) != 0; }
};

void ShowAccount(QSessionHandle session, const Target &target) {
    ShowUserSummary(session, target.userId, target.acl, target.blocked);
    if (!target.IsOperator()) ShowSystemPermissions(target.acl);
    ShowUserObjects(session, target.userId);
}

uint32_t SetAcl(QSessionHandle session, const char *userId, uint32_t acl) {
    Secret<QUserRecord> record;
    strncpy(record.value.userId, userId, kUserIdChars);
    record.value.acl = acl;
    return QSetUserParam(session, Q_USER_PARAM_ACL, &record.value, sizeof record.value, 0);
}

uint32_t ChangePermissions(QSessionHandle session, const MenuItem &item, Target *target) {
    PrintActionHeading(item);
    OutPrintf("%s%s\n", "User ID: ", target->userId);
    // The rights that only the local console may grant are dropped with any change.
    uint32_t acl = target->acl & ~(Q_ACL_MOFN_LOCAL | Q_ACL_LOCAL_CRYPTO);
    PrintSystemPermissionsHeading();
    AskPermissions(Q_ACL_OPERATOR, &acl);
    uint32_t rc = SetAcl(session, target->userId, acl);
    if (rc != Q_OK) {
        PrintError("Error adding permission.", rc);
        return rc;
    }
    ErrPrintf("\n%s '%s' %s\n\n", "System permissions of user ", target->userId,
              "successfully changed.");
    rc = QGetUserAcl(session, target->userId, &target->acl);
    if (rc == Q_OK) ShowSystemPermissions(target->acl);
    return rc;
}

// The new type's word replaces the whole ACL: flags of the old type do not carry over.
uint32_t ChangeType(QSessionHandle session, const Target &target) {
    const bool toOperator = !target.IsOperator();
    OutPrintf("%s\n",
              toOperator ? "Changing user type to 'operator'." : "Changing user type to 'user'.");
    if (AskYesNo("Continue (y/[n]):", 0) != 1) {
        PrintCancelled();
        return Q_OK;
    }
    uint32_t acl = Q_ACL_OPERATOR;
    if (!toOperator) {
        acl = 0;
        PrintSystemPermissionsHeading();
        AskPermissions(Q_ACL_OPERATOR, &acl);
    }
    const uint32_t rc = SetAcl(session, target.userId, acl);
    if (rc != Q_OK) {
        PrintError("Error adding permission.", rc);
        return rc;
    }
    ErrPrintf(toOperator ? "%s '%s' %s '%s' %s\n\n" : "\n%s '%s' %s '%s' %s\n\n", "User",
              target.userId, "changed type to ", toOperator ? "Operator" : "User", "successfully.");
    return Q_OK;
}

uint32_t RunChangeMenu(QSessionHandle session, const MenuItem &item, Target *target) {
    const char *blockWord = target->blocked ? "Unblock" : "Block";
    OutPrintf("%s\n", "\nChange: ");
    int32_t last = 0;
    if (target->IsOperator()) {
        OutPrintf(" 1 - %s\n 2 - %s\n 3 - %s\n 0 - %s\n", "Type", blockWord,
                  "Two Factor Authentication", "Main Menu");
        last = 3;
    } else {
        OutPrintf(" 1 - %s\n 2 - %s\n 3 - %s\n 4 - %s\n 0 - %s\n", "System permissions", "Type",
                  blockWord, "Two Factor Authentication", "Main Menu");
        last = 4;
    }
    OutPrintf("%s : ", "Option");
    CurrentTerminal().FlushOut();
    int32_t choice = 0;
    if (ReadMenuNumber(0, last, &choice) != kPromptOk) {
        ErrPrintf("\n\n%s\n", "Invalid option.");
        return Q_OK;
    }
    // Operators have no permissions entry: their choices start one lower.
    if (target->IsOperator() && choice != 0) ++choice;
    switch (choice) {
        case 1:
            return ChangePermissions(session, item, target);
        case 2:
            return ChangeType(session, *target);
        case 3:
            return BlockUnblockUser(session, target->userId, target->blocked);
        case 4:
            return SetupTwoFactor(session, target->userId, target->acl);
        default:
            return Q_OK;
    }
}

}  // namespace

int32_t ChangeUser(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    Target target{};
    uint32_t rc = QGetUserAcl(session, gState.userId, &target.acl);
    if (rc != Q_OK) {
        PrintError("Error retrieving user acl.", rc);
        return int32_t(rc);
    }
    if (!target.IsOperator()) {
        strncpy(target.userId, gState.userId, kUserIdChars);
        target.blocked = ReadUserBlocked(session, target.userId);
        ShowAccount(session, target);
        return 0;
    }

    if (!ReadUserId(target.userId)) return kPromptCancelled;
    rc = QGetUserAcl(session, target.userId, &target.acl);
    if (rc != Q_OK) {
        PrintError("Error adding permission.", rc);
        return int32_t(rc);
    }
    target.blocked = ReadUserBlocked(session, target.userId);
    ShowAccount(session, target);
    return int32_t(RunChangeMenu(session, item, &target));
}
