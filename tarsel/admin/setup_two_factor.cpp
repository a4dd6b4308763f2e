#include <cstring>

#include "admin/second_factor.h"
#include "admin/user_changes.h"
#include "admin/user_dialogs.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

constexpr const char *kResetFailure = "Error reseting user Two Factor Authentication.";
constexpr size_t kOtpBuffer = 17;

uint32_t ResetSecondFactor(QSessionHandle session, const char *userId, bool isX509) {
    uint32_t rc = Q_OK;
    if (isX509) {
        QUserCertRecord record{};
        strncpy(record.userId, userId, sizeof record.userId - 1);
        record.operation = Q_CERT_OP_RESET;
        rc = QSetUserParam(session, Q_USER_PARAM_CERT, &record, sizeof record, 0);
    } else {
        rc = QUnassignToken(session, Q_TOKEN_OATH_EVENT, userId);
    }
    if (rc != Q_OK) {
        PrintError(kResetFailure, rc);
        return rc;
    }
    PrintUserResult("User", userId, "successfully reset.");
    return Q_OK;
}

uint32_t ResynchroniseToken(QSessionHandle session, const char *userId) {
    if (AskYesNo("Synchronize OTP authentication (y/[n]): ", 0) != 1) return Q_OK;
    Secret<char[kOtpBuffer]> first;
    Secret<char[kOtpBuffer]> next;
    if (ReadLine("Enter OTP: ", first.value, sizeof first.value - 1) != kPromptOk ||
        ReadLine("Enter Next OTP: ", next.value, sizeof next.value - 1) != kPromptOk) {
        PrintCancelled();
        return Q_OK;
    }
    const uint32_t rc = QOATHResync(session, userId, first.value, next.value, 0);
    if (rc != Q_OK) {
        PrintError(kResetFailure, rc);
        return rc;
    }
    PrintUserResult("User", userId, "successfully synchronized.");
    return Q_OK;
}

uint32_t SetNewSecondFactor(QSessionHandle session, const char *userId) {
    if (AskYesNo("Set Two Factor Authentication (y/[n]): ", 0) != 1) {
        PrintCancelled();
        return Q_OK;
    }
    SecondFactor factor;
    if (!ChooseSecondFactor(session, &factor)) return Q_OK;
    const uint32_t rc =
        AssignSecondFactor(session, userId, factor, "Error seting user Two Factor Authentication.");
    if (rc != Q_OK) return rc;
    PrintUserResult("Two Factor Authentication for user ", userId, "successfully set.");
    return Q_OK;
}

}  // namespace

uint32_t SetupTwoFactor(QSessionHandle session, const char *userId, uint32_t acl) {
    OutPrintf("%s%s\n", "User ID: ", userId);
    const bool isX509 = (acl & Q_ACL_X509_2FA) != 0;
    const bool hasFactor = isX509 || (acl & Q_ACL_OATH_2FA) != 0;
    if (!hasFactor) return SetNewSecondFactor(session, userId);

    OutPrintf("%-20s - %s\n\n", "Two Factor Auth", isX509 ? "X.509" : "OATH");
    if (AskYesNo("Reset Two Factor Authentication (y/[n]): ", 0) == 1) {
        return ResetSecondFactor(session, userId, isX509);
    }
    return isX509 ? Q_OK : ResynchroniseToken(session, userId);
}
