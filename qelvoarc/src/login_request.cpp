#include "login_request.h"

#include <openssl/crypto.h>

#include <cstring>

#include "qelvoarc.h"
#include "status.h"

namespace qelvoarc {

namespace {

// A fixed text field: up to its width, not necessarily terminated.
std::string FieldText(const char *field, size_t width) {
    return std::string(field, strnlen(field, width));
}

[[nodiscard]] uint32_t PlanPassword(const QPasswordLoginRecord &record, LoginPlan *plan) {
    pb::Login &login = plan->login;
    login.set_user(FieldText(record.userId, sizeof record.userId));
    login.set_password(record.password, strnlen(record.password, sizeof record.password));
    login.set_auth_mode(static_cast<pb::AuthMode>(record.authMode));
    switch (record.authMode) {
        case Q_AUTH_PASSWORD:
            return wire::OK;
        case Q_AUTH_OTP:
            if (record.otp == nullptr || record.otpLength == 0) return wire::ERR_INVALID_PARAMETER;
            login.set_otp(static_cast<const char *>(record.otp),
                          strnlen(static_cast<const char *>(record.otp), record.otpLength));
            return wire::OK;
        case Q_AUTH_MUTUAL_TLS: {
            if (record.otp == nullptr || record.otpLength != sizeof(QMutualTlsRecord))
                return wire::ERR_INVALID_PARAMETER;
            QMutualTlsRecord tls;
            std::memcpy(&tls, record.otp, sizeof tls);
            if (tls.privateKey == nullptr || tls.clientCert == nullptr || tls.hsmCert == nullptr)
                return wire::ERR_INVALID_PARAMETER;
            // Lengths are 32-bit values stored in 8-byte fields.
            auto length = [](uint64_t field) { return static_cast<uint32_t>(field); };
            plan->mutualTls.privateKey = {reinterpret_cast<const char *>(tls.privateKey),
                                          length(tls.privateKeyLength)};
            plan->mutualTls.keyPassword = tls.keyPassword;
            plan->mutualTls.clientCert = {reinterpret_cast<const char *>(tls.clientCert),
                                          length(tls.clientCertLength)};
            plan->mutualTls.hsmCert = {reinterpret_cast<const char *>(tls.hsmCert),
                                       length(tls.hsmCertLength)};
            plan->usesMutualTls = true;
            return wire::OK;
        }
        default:
            return wire::ERR_INVALID_PARAMETER;
    }
}

}  // namespace

uint32_t PlanLogin(uint32_t method, const void *record, uint32_t recordSize, uint32_t sessionFlags,
                   LoginPlan *plan) {
    if (record == nullptr) return wire::ERR_INVALID_PARAMETER;
    plan->login.set_method(static_cast<pb::LoginMethod>(method));
    plan->login.set_session_flags(sessionFlags);
    switch (method) {
        case Q_LOGIN_PASSWORD: {
            if (recordSize != sizeof(QPasswordLoginRecord)) return wire::ERR_INVALID_PARAMETER;
            QPasswordLoginRecord password;
            std::memcpy(&password, record, sizeof password);
            plan->address = FieldText(password.address, sizeof password.address);
            plan->port = password.port;
            uint32_t status = PlanPassword(password, plan);
            OPENSSL_cleanse(&password, sizeof password);
            return status;
        }
        case Q_LOGIN_ACCESS_TOKEN: {
            if (recordSize != sizeof(QAccessTokenLoginRecord)) return wire::ERR_INVALID_PARAMETER;
            QAccessTokenLoginRecord token;
            std::memcpy(&token, record, sizeof token);
            plan->address = FieldText(token.address, sizeof token.address);
            plan->port = token.port;
            plan->login.set_access_token(token.token, sizeof token.token);
            OPENSSL_cleanse(&token, sizeof token);
            return wire::OK;
        }
        case Q_LOGIN_ANONYMOUS: {
            // The console opens anonymous sessions with the record of either form.
            if (recordSize != sizeof(QAnonymousLoginRecord) &&
                recordSize != sizeof(QPasswordLoginRecord))
                return wire::ERR_INVALID_PARAMETER;
            QAnonymousLoginRecord anonymous;
            std::memcpy(&anonymous, record, sizeof anonymous);
            plan->address = FieldText(anonymous.address, sizeof anonymous.address);
            plan->port = anonymous.port;
            return wire::OK;
        }
        case Q_LOGIN_CREDENTIAL_MANAGER:
            return wire::ERR_PLATFORM;
        default:
            return wire::ERR_NOT_SUPPORTED;
    }
}

}  // namespace qelvoarc
