#include "app/prompted_session.h"

#include <cstring>

#include "console/prompts.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "device/secret.h"

namespace {

// Session flags of the anonymous information session.
constexpr uint32_t kAnonymousSessionFlags = Q_SESSION_KEEPALIVE | Q_SESSION_FAST_CONNECT;

template <size_t N>
void CopyField(char (&field)[N], const char *text) {
    memset(field, 0, N);
    memcpy(field, text, strnlen(text, N));
}

}  // namespace

uint32_t ReadLoginPrompted(PromptedLogin *login, bool askAddress, bool askUser, bool askPassword,
                           bool askOtp, bool *otpGiven) {
    Secret<char[17]> user;
    Secret<char[17]> password;
    memset(login->otp, 0, sizeof login->otp);
    if (otpGiven != nullptr) *otpGiven = false;
    QPasswordLoginRecord &record = login->record;

    if (askAddress) {
        memset(record.address, 0, sizeof record.address);
        if (ReadLine("HSM Orvena IP : ", record.address, sizeof record.address) != kPromptOk) {
            PrintCancelled();
            return 1;
        }
    }
    if (askUser) {
        if (ReadLine("HSM User ID : ", user.value, sizeof user.value - 1) != kPromptOk) {
            PrintCancelled();
            return 1;
        }
        CopyField(record.userId, user.value);
    }
    if (askPassword) {
        OutPrintf("%s :", "HSM User Password");
        CurrentTerminal().FlushOut();
        ReadSecret(password.value, sizeof password.value);
        CopyField(record.password, password.value);
        OutPrintf("\n");
    }
    if (askOtp && ReadLine("OTP [optional, ENTER for none] : ", login->otp,
                           sizeof login->otp - 1) == kPromptOk) {
        record.authMode = Q_AUTH_OTP;
        record.otp = login->otp;
        record.otpLength = uint32_t(strlen(login->otp));
        if (otpGiven != nullptr) *otpGiven = true;
    }
    return 0;
}

uint32_t OpenSessionPrompted(QSessionHandle *session, PromptedLogin *login, bool askAddress,
                             bool askUser, bool askPassword, bool askOtp, bool *otpGiven,
                             uint32_t flags) {
    if (ReadLoginPrompted(login, askAddress, askUser, askPassword, askOtp, otpGiven) != 0) return 1;
    return QOpenSession(session, Q_LOGIN_PASSWORD, &login->record, sizeof login->record, flags);
}

uint32_t OpenAnonymousSession(const char *address, uint32_t port,
                              const std::function<uint32_t(QSessionHandle)> &read) {
    QAnonymousLoginRecord record{};
    CopyField(record.address, address);
    record.port = port;
    OwnedSession session;
    const uint32_t rc = QOpenSession(session.Out(), Q_LOGIN_ANONYMOUS, &record, sizeof record,
                                     kAnonymousSessionFlags);
    if (rc != Q_OK) return rc;
    return read(session.Get());
}
