// "My Password": the logged-in user's own password, after the old one is proven again.
#include <cstring>

#include "admin/user_actions.h"
#include "admin/user_dialogs.h"
#include "app/new_password.h"
#include "app/password_verifier.h"
#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

// Reads the old password, again while it is too short to be one. False when cancelled.
bool ReadOldPassword(char *password) {
    size_t length = 0;
    do {
        OutPrintf("%s", "Old Password: ");
        CurrentTerminal().FlushOut();
        ReadSecret(password, kPasswordBuffer);
        OutPrintf("\n");
        length = strlen(password);
        if (length == 0) {
            PrintCancelled();
            return false;
        }
    } while (length < kMinPasswordChars);
    return true;
}

// Checks the password against the login's verifier, so the password itself was never kept.
uint32_t CheckOldPassword(QSessionHandle session, const char *password, bool *matches) {
    Secret<uint8_t[kVerifierSize]> verifier;
    const uint32_t rc =
        ComputePasswordVerifier(session, password, gState.verifierSalt, verifier.value);
    *matches = rc == Q_OK && memcmp(verifier.value, gState.passwordVerifier, kVerifierSize) == 0;
    return rc;
}

}  // namespace

int32_t ChangeMyPassword(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    if (gState.accessTokenLogin) {
        static constexpr const char *kWarning[] = {
            "Warning",
            "\n",
            "This option is disabled when using access token authentication.",
            "Please, connect using a non access token authentication to change",
            "your own password.",
            "",
        };
        PrintBoxedBanner('*', kWarning);
        return 0;
    }

    Secret<char[kPasswordBuffer]> oldPassword;
    if (!ReadOldPassword(oldPassword.value)) return kPromptCancelled;
    bool matches = false;
    uint32_t rc = CheckOldPassword(session, oldPassword.value, &matches);
    if (rc != Q_OK) {
        PrintError("Error changing user password.", rc);
        return int32_t(rc);
    }
    if (!matches) {
        PrintRefusal("Invalid password!");
        return 0;
    }

    Secret<char[kPasswordBuffer]> newPassword;
    const uint32_t status =
        ReadNewPassword("New Password: ", "Confirm new password: ", kMinPasswordChars,
                        newPassword.value, kPasswordBuffer);
    if (status == kNewPasswordCancelled) PrintCancelled();
    if (status != kNewPasswordOk) return int32_t(status);
    rc = QSetUserParam(session, Q_USER_PARAM_OWN_PASSWORD, newPassword.value,
                       uint32_t(strlen(newPassword.value)), 0);
    if (rc != Q_OK) {
        PrintError("Error changing user password.", rc);
        return int32_t(rc);
    }
    // The verifier follows the password, so a second change in this session asks for the
    // password the user has now; if it cannot be rebuilt, the old one stays.
    Secret<uint8_t[kVerifierSize]> verifier;
    if (ComputePasswordVerifier(session, newPassword.value, gState.verifierSalt, verifier.value) ==
        Q_OK)
        memcpy(gState.passwordVerifier, verifier.value, kVerifierSize);
    ErrPrintf("\n\n%s\n\n", "Password changed successfully.");
    return 0;
}
