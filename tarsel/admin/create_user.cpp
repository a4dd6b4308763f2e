// "Create": a new account (and its partition) with its flags, second factor and rights.
#include <cstring>
#include <memory>

#include "admin/second_factor.h"
#include "admin/system_permissions.h"
#include "admin/user_actions.h"
#include "admin/user_dialogs.h"
#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

// Only an operator is offered the operator type. Returns false when cancelled.
bool AskNewUserIsOperator(bool creatorIsOperator, bool *isOperator) {
    *isOperator = false;
    if (!creatorIsOperator) {
        OutPrintf("%s%s\n", "Type: ", "User");
        return true;
    }
    OutPrintf("%s\n", "Type: ");
    OutPrintf(" 1 - %s\n 2 - %s\n", "User", "Operator (all permissions enabled)");
    int32_t choice = 0;
    if (!ReadOption(1, 2, &choice)) return false;
    *isOperator = choice == 2;
    return true;
}

// Reads the password and its confirmation into record->password. Returns false when the
// entry was cancelled or the confirmation differs (the reason printed).
bool AskInitialPassword(QUserRecord *record) {
    size_t length = 0;
    do {
        OutPrintf("%s", "Password: ");
        CurrentTerminal().FlushOut();
        ReadSecret(record->password, sizeof record->password);
        OutPrintf("\n");
        length = strlen(record->password);
        if (length == 0) {
            PrintCancelled();
            return false;
        }
        if (length < kMinPasswordChars) {
            PrintRefusal("Password must be at least 6 characters long.");
        }
    } while (length < kMinPasswordChars);

    Secret<char[kPasswordBuffer]> confirmation;
    OutPrintf("%s", "Confirm password: ");
    CurrentTerminal().FlushOut();
    ReadSecret(confirmation.value, sizeof confirmation.value);
    OutPrintf("\n");
    if (memcmp(record->password, confirmation.value, kPasswordBuffer) != 0) {
        PrintRefusal("Password differs from confirmation!");
        return false;
    }
    return true;
}

uint32_t AskLocalConsoleFlags() {
    uint32_t flags = ConfirmByTyping(
        "Require Authorization on Local Console with M of N Scheme",
        "Please note: M of N Authorization requires access to HSM Local Console and the\n"
        "custodians Smart Cards in order to operate the states transitions\n"
        "Type the text \"M of N\" if you are sure to enable this flag for the user being\n"
        "created: ",
        "M of N", "Authorization on Local Console with M of N Scheme disabled.", Q_ACL_MOFN_LOCAL);
    flags |= ConfirmByTyping(
        "Enable local-crypto",
        "Please note: Local-crypto requires access to HSM Local Console in order to\n"
        "execute signatures using the partition's keys.\n"
        "Type the text \"Local\" if you are sure to enable this flag for the user being\n"
        "created: ",
        "Local", "Local-crypto disabled.", Q_ACL_LOCAL_CRYPTO);
    return flags;
}

}  // namespace

int32_t CreateUser(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    uint32_t creatorAcl = 0;
    uint32_t rc = QGetUserAcl(session, gState.userId, &creatorAcl);
    if (rc != Q_OK) {
        PrintError("Error retrieving user acl.", rc);
        return int32_t(rc);
    }

    bool isOperator = false;
    if (!AskNewUserIsOperator((creatorAcl & Q_ACL_OPERATOR) != 0, &isOperator))
        return kPromptCancelled;
    Secret<QUserRecord> record;
    if (!ReadUserId(record.value.userId)) return kPromptCancelled;
    if (!AskInitialPassword(&record.value)) return kPromptCancelled;

    uint32_t acl = AskLocalConsoleFlags();
    std::unique_ptr<SecondFactor> factor;
    if (AskYesNoWithDefault("Require Two Factor Authentication", 0) == 1) {
        factor = std::make_unique<SecondFactor>();
        if (!ChooseSecondFactor(session, factor.get())) return kPromptCancelled;
        acl |= factor->kind == SecondFactorKind::kX509 ? Q_ACL_X509_2FA : Q_ACL_OATH_2FA;
    }
    if (AskYesNoWithDefault("Require User to Change Password at Next LogOn", 0) == 1) {
        acl |= Q_ACL_CHANGE_PASSWORD;
    }
    if (isOperator) {
        acl |= Q_ACL_OPERATOR;
    } else {
        PrintSystemPermissionsHeading();
        AskPermissions(creatorAcl, &acl);
    }
    record.value.acl = acl;

    rc = QCreateUser(session, &record.value);
    if (rc != Q_OK) {
        PrintError("Error creating user.", rc);
        return int32_t(rc);
    }
    // The account stays when its second factor cannot be given: only that error is shown.
    if (factor) {
        rc = AssignSecondFactor(session, record.value.userId, *factor,
                                "Error assigning token to user.");
        if (rc != Q_OK) return int32_t(rc);
    }
    PrintUserResult("User", record.value.userId, "successfully created.");
    return 0;
}
