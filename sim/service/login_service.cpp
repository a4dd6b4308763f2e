#include "service/login_service.h"

#include "crypto/otp_verifier.h"
#include "crypto/password_hash.h"
#include "service/access_token.h"

namespace sim {

namespace {

Result CheckOtp(HsmContext &hsm, const std::string &user, const std::string &otp) {
    int64_t now = hsm.clock.Now();
    return hsm.users.UseOathToken(
        Actor::User(user), user,
        [&](const OathState &state, const std::string &sealed) -> std::optional<uint64_t> {
            std::optional<SecretBytes> seed = hsm.masterKey.Open(sealed);
            if (!seed) return std::nullopt;
            return VerifyOtp(state, seed->view(), otp, now);
        });
}

// The second factor the user's ACL demands, and any factor offered beyond it.
Result CheckSecondFactor(HsmContext &hsm, const ConnectionState &conn, const UserRecord &user,
                         const pb::Login &login) {
    bool wantsOtp = user.acl & pb::ACL_OATH_2FA;
    bool wantsCert = user.acl & pb::ACL_X509_2FA;
    if (wantsOtp && (login.auth_mode() != pb::AUTH_PASSWORD_OTP || login.otp().empty()))
        return Result::kOtpRequired;
    if (wantsCert && login.auth_mode() != pb::AUTH_MUTUAL_TLS) return Result::kCertRequired;
    switch (login.auth_mode()) {
        case pb::AUTH_PASSWORD:
            return Result::kOk;
        case pb::AUTH_PASSWORD_OTP:
            if (login.otp().empty()) return Result::kOtpInvalid;
            return CheckOtp(hsm, user.id, login.otp());
        case pb::AUTH_MUTUAL_TLS:
            if (conn.peerCertificate.empty()) return Result::kCertRequired;
            if (user.certificate.empty() || user.certificate != conn.peerCertificate)
                return Result::kCertMismatch;
            return Result::kOk;
        default:
            return Result::kInvalidParameter;
    }
}

const char *AuthModeName(pb::AuthMode mode) {
    switch (mode) {
        case pb::AUTH_PASSWORD_OTP:
            return "password and OTP";
        case pb::AUTH_MUTUAL_TLS:
            return "mutual TLS";
        default:
            return "password";
    }
}

// The acceptor admitted the host; an entry of it that names other users still keeps this
// one out. Checked before any credential, so a refused host learns nothing about them.
Result CheckIpFilter(HsmContext &hsm, ConnectionState &conn, std::string_view user) {
    if (AdmitsUser(hsm.ipFilter.Load(), conn.peerAddress, user)) return Result::kOk;
    hsm.ipFilter.RecordRefusedLogin(conn.peerAddress, user);
    conn.closeAfterReply = true;
    return Result::kIpFilterRefused;
}

LoginProof ProofOf(pb::AuthMode mode) {
    switch (mode) {
        case pb::AUTH_PASSWORD_OTP:
            return LoginProof::kPasswordAndOtp;
        case pb::AUTH_MUTUAL_TLS:
            return LoginProof::kMutualTls;
        default:
            return LoginProof::kPassword;
    }
}

Result OpenSession(HsmContext &hsm, ConnectionState &conn, const std::string &user,
                   SessionKind kind, LoginProof proof, pb::LoginReply *reply) {
    conn.session = hsm.sessions.Open(user, kind, proof == LoginProof::kAccessToken,
                                     {conn.peerAddress, conn.tls, hsm.clock.Now(), proof});
    if (!conn.session) {
        conn.closeAfterReply = true;
        return Result::kSessionLimit;
    }
    reply->set_session_id(conn.session->id);
    reply->set_user(user);
    reply->set_password_expired(kind == SessionKind::kPasswordChange);
    return kind == SessionKind::kPasswordChange ? Result::kPasswordExpired : Result::kOk;
}

Result PasswordLogin(HsmContext &hsm, ConnectionState &conn, const pb::Login &login,
                     pb::LoginReply *reply) {
    if (login.user().empty() || login.user().size() > kMaxUserIdLength ||
        login.password().size() > kMaxPasswordBytes)
        return Result::kAuthFailed;
    if (Result filter = CheckIpFilter(hsm, conn, login.user()); filter != Result::kOk)
        return filter;
    std::optional<UserRecord> user = hsm.users.FindUser(login.user());
    if (!user) {
        VerifyPasswordOfNobody(login.password());
        hsm.events.Record(Actor::User(login.user()), "Login", "unknown user");
        return Result::kAuthFailed;
    }
    if (user->blocked) {
        hsm.events.Record(Actor::User(user->id), "Login", "user blocked");
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
                       expired ? SessionKind::kPasswordChange : SessionKind::kUser,
                       ProofOf(login.auth_mode()), reply);
}

Result AccessTokenLogin(HsmContext &hsm, ConnectionState &conn, const pb::Login &login,
                        pb::LoginReply *reply) {
    std::optional<ParsedAccessToken> token = ParseAccessToken(login.access_token());
    if (!token) return Result::kTokenInvalid;
    if (Result filter = CheckIpFilter(hsm, conn, token->userId); filter != Result::kOk)
        return filter;
    std::optional<AccessTokenRecord> record = hsm.tokens.Find(token->secretHash);
    if (!record || record->revoked || record->userId != token->userId) {
        hsm.events.Record(Actor::User(token->userId), "Login (access token)",
                          "invalid access token");
        return Result::kTokenInvalid;
    }
    if (record->expires != 0 && record->expires <= hsm.clock.Now()) {
        hsm.events.Record(Actor::User(token->userId), "Login (access token)",
                          "access token expired");
        return Result::kTokenExpired;
    }
    std::optional<UserRecord> user = hsm.users.FindUser(record->userId);
    if (!user) return Result::kTokenInvalid;
    if (user->blocked) {
        hsm.events.Record(Actor::User(user->id), "Login (access token)", "user blocked");
        return Result::kUserBlocked;
    }
    hsm.users.RecordLogin(user->id, "access token");
    return OpenSession(hsm, conn, user->id, SessionKind::kUser, LoginProof::kAccessToken, reply);
}

Result HandleLogin(Call &call, const pb::Login &login, pb::LoginReply *reply) {
    switch (login.method()) {
        case pb::LOGIN_ANONYMOUS:
            if (Result filter = CheckIpFilter(call.hsm, call.conn, ""); filter != Result::kOk)
                return filter;
            return OpenSession(call.hsm, call.conn, "", SessionKind::kAnonymous, LoginProof::kNone,
                               reply);
        case pb::LOGIN_PASSWORD:
            return PasswordLogin(call.hsm, call.conn, login, reply);
        case pb::LOGIN_ACCESS_TOKEN:
            return AccessTokenLogin(call.hsm, call.conn, login, reply);
        default:
            return Result::kNotSupported;
    }
}

Result HandleLogout(Call &call, const pb::Logout &, pb::LogoutReply *) {
    call.hsm.sessions.Close(call.session().id);
    call.conn.session.reset();
    return Result::kOk;
}

}  // namespace

void RegisterLoginService(DispatchTable &table) {
    table.Add<&pb::Request::login, &pb::Response::mutable_login>(HandleLogin, Needs::Nothing(),
                                                                 kBeforeLogin | kAfterRestore);
    table.Add<&pb::Request::logout, &pb::Response::mutable_logout>(HandleLogout, Needs::Nothing(),
                                                                   kEverySession | kAfterRestore);
}

}  // namespace sim
