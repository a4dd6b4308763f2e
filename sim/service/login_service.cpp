#include "service/login_service.h"

#include "core/acl.h"
#include "crypto/otp_verifier.h"
#include "crypto/password_hash.h"
#include "service/access_token.h"

namespace sim {

namespace {

constexpr uint32_t kAuthPassword = 0;
constexpr uint32_t kAuthPasswordOtp = 1;
constexpr uint32_t kAuthMutualTls = 2;

Result CheckOtp(HsmContext &hsm, const std::string &user, const std::string &otp) {
    int64_t now = hsm.clock.Now();
    return hsm.users.UseOathToken(
        user, [&](const OathState &state, const std::string &sealed) -> std::optional<uint64_t> {
            std::optional<SecretBytes> seed = hsm.masterKey.Open(sealed);
            if (!seed) return std::nullopt;
            return VerifyOtp(state, seed->view(), otp, now);
        });
}

// The second factor the user's ACL demands, and any factor offered beyond it.
Result CheckSecondFactor(HsmContext &hsm, const ConnectionState &conn, const UserRecord &user,
                         const wire::pb::Login &login) {
    bool wantsOtp = user.acl & acl::kOathSecondFactor;
    bool wantsCert = user.acl & acl::kX509SecondFactor;
    if (wantsOtp && (login.auth_mode() != kAuthPasswordOtp || login.otp().empty()))
        return Result::kOtpRequired;
    if (wantsCert && login.auth_mode() != kAuthMutualTls) return Result::kCertRequired;
    switch (login.auth_mode()) {
        case kAuthPassword:
            return Result::kOk;
        case kAuthPasswordOtp:
            if (login.otp().empty()) return Result::kOtpInvalid;
            return CheckOtp(hsm, user.id, login.otp());
        case kAuthMutualTls:
            if (conn.peerCertificate.empty()) return Result::kCertRequired;
            if (user.certificate.empty() || user.certificate != conn.peerCertificate)
                return Result::kCertMismatch;
            return Result::kOk;
        default:
            return Result::kInvalidParameter;
    }
}

const char *AuthModeName(uint32_t mode) {
    switch (mode) {
        case kAuthPasswordOtp:
            return "password and OTP";
        case kAuthMutualTls:
            return "mutual TLS";
        default:
            return "password";
    }
}

Result OpenSession(HsmContext &hsm, ConnectionState &conn, const std::string &user,
                   SessionKind kind, bool byAccessToken, wire::pb::Response *response) {
    conn.session = hsm.sessions.Open(user, kind, byAccessToken);
    if (!conn.session) {
        conn.closeAfterReply = true;
        return Result::kSessionLimit;
    }
    wire::pb::LoginReply *reply = response->mutable_login();
    reply->set_session_id(conn.session->id);
    reply->set_user(user);
    reply->set_password_expired(kind == SessionKind::kPasswordChange);
    return kind == SessionKind::kPasswordChange ? Result::kPasswordExpired : Result::kOk;
}

Result PasswordLogin(HsmContext &hsm, ConnectionState &conn, const wire::pb::Login &login,
                     wire::pb::Response *response) {
    if (login.user().empty() || login.user().size() > kMaxUserIdLength ||
        login.password().size() > kMaxPasswordBytes)
        return Result::kAuthFailed;
    std::optional<UserRecord> user = hsm.users.FindUser(login.user());
    if (!user) {
        VerifyPasswordOfNobody(login.password());
        hsm.events.Record(login.user(), "Login", "unknown user");
        return Result::kAuthFailed;
    }
    if (user->blocked) {
        hsm.events.Record(user->id, "Login", "user blocked");
        return Result::kUserBlocked;
    }
    if (!VerifyPassword(user->passwordHash, login.password())) {
        hsm.users.RecordFailedLogin(user->id, "wrong password");
        return Result::kAuthFailed;
    }
    if (Result factor = CheckSecondFactor(hsm, conn, *user, login); factor != Result::kOk) {
        hsm.users.RecordFailedLogin(user->id, "second factor");
        return factor;
    }
    bool expired =
        PasswordExpired(hsm.policy.Load(), user->acl, user->passwordChanged, hsm.clock.Now());
    hsm.users.RecordLogin(user->id, AuthModeName(login.auth_mode()));
    return OpenSession(hsm, conn, user->id,
                       expired ? SessionKind::kPasswordChange : SessionKind::kUser, false,
                       response);
}

Result AccessTokenLogin(HsmContext &hsm, ConnectionState &conn, const wire::pb::Login &login,
                        wire::pb::Response *response) {
    std::optional<ParsedAccessToken> token = ParseAccessToken(login.access_token());
    if (!token) return Result::kTokenInvalid;
    std::optional<AccessTokenRecord> record = hsm.tokens.Find(token->secretHash);
    if (!record || record->revoked || record->userId != token->userId) {
        hsm.events.Record(token->userId, "Login (access token)", "invalid access token");
        return Result::kTokenInvalid;
    }
    if (record->expires != 0 && record->expires <= hsm.clock.Now()) {
        hsm.events.Record(token->userId, "Login (access token)", "access token expired");
        return Result::kTokenExpired;
    }
    std::optional<UserRecord> user = hsm.users.FindUser(record->userId);
    if (!user) return Result::kTokenInvalid;
    if (user->blocked) {
        hsm.events.Record(user->id, "Login (access token)", "user blocked");
        return Result::kUserBlocked;
    }
    hsm.users.RecordLogin(user->id, "access token");
    return OpenSession(hsm, conn, user->id, SessionKind::kUser, true, response);
}

}  // namespace

Result HandleLogin(HsmContext &hsm, ConnectionState &conn, const wire::pb::Login &login,
                   wire::pb::Response *response) {
    switch (login.method()) {
        case kLoginAnonymous:
            return OpenSession(hsm, conn, "", SessionKind::kAnonymous, false, response);
        case kLoginPassword:
            return PasswordLogin(hsm, conn, login, response);
        case kLoginAccessToken:
            return AccessTokenLogin(hsm, conn, login, response);
        default:
            return Result::kNotSupported;
    }
}

Result HandleLogout(HsmContext &hsm, ConnectionState &conn) {
    hsm.sessions.Close(conn.session->id);
    conn.session.reset();
    return Result::kOk;
}

}  // namespace sim
