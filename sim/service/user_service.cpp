#include "service/user_service.h"

#include "core/user_rights.h"
#include "crypto/certificate_der.h"
#include "crypto/password_hash.h"
#include "service/mofn_guard.h"
#include "service/target_account.h"

namespace sim {

namespace {

constexpr uint32_t kSecondFactorBits = pb::ACL_OATH_2FA | pb::ACL_X509_2FA;

Result SetPasswordChecked(Call &call, const std::string &user, const std::string &password) {
    if (Result r = CheckPassword(call.hsm.policy.Load(), password); r != Result::kOk) return r;
    return call.hsm.users.SetPassword(call.actor(), user, HashPassword(password));
}

Result HandleGetUserAcl(Call &call, const pb::GetUserAcl &request, pb::GetUserAclReply *reply) {
    UserRecord user;
    if (Result r = FindInspectable(call, request.user(), &user); r != Result::kOk) return r;
    reply->set_acl(user.acl);
    return Result::kOk;
}

Result HandleGetUserStatus(Call &call, const pb::GetUserStatus &request,
                           pb::GetUserStatusReply *reply) {
    UserRecord user;
    if (Result r = FindInspectable(call, request.user(), &user); r != Result::kOk) return r;
    reply->set_blocked(user.blocked);
    return Result::kOk;
}

Result HandleGetUserAuth(Call &call, const pb::GetUserAuth &request, pb::GetUserAuthReply *reply) {
    UserRecord user;
    if (Result r = FindInspectable(call, request.user(), &user); r != Result::kOk) return r;
    if (!UnderMofN(user)) {
        reply->set_state(pb::MOFN_STATE_NOT_ENABLED);
        return Result::kOk;
    }
    const MofNPartition partition = call.hsm.mofn.Read(user.id);
    reply->set_state(static_cast<uint32_t>(partition.state));
    reply->set_permission_mask(partition.permissions);
    return Result::kOk;
}

// The second-factor bits follow the registered factors: a request may drop them (a change
// of type does) but never raise them.
Result HandleSetUserAcl(Call &call, const pb::SetUserAcl &request, pb::SetUserAclReply *) {
    UserRecord target;
    if (Result r = FindAdministrable(call, request.user(), false, &target); r != Result::kOk)
        return r;
    uint32_t acl =
        (request.acl() & ~kSecondFactorBits) | (request.acl() & target.acl & kSecondFactorBits);
    if (!rights::MayGrant(call.caller->acl, target.acl, acl, false)) return Result::kAccessDenied;
    return call.hsm.users.SetAcl(call.actor(), target.id, acl);
}

Result HandleSetUserCertificate(Call &call, const pb::SetUserCertificate &request,
                                pb::SetUserCertificateReply *) {
    UserRecord target;
    if (Result r = FindAdministrable(call, request.user(), false, &target); r != Result::kOk)
        return r;
    UserStore &users = call.hsm.users;
    if (request.reset()) {
        if (Result r = users.SetCertificate(call.actor(), target.id, ""); r != Result::kOk)
            return r;
        return users.ChangeAclFlags(call.actor(), target.id, 0, pb::ACL_X509_2FA);
    }
    std::optional<std::string> der = CertificateToDer(request.certificate());
    if (!der) return Result::kInvalidParameter;
    if (Result r = users.SetCertificate(call.actor(), target.id, *der); r != Result::kOk) return r;
    return users.ChangeAclFlags(call.actor(), target.id, pb::ACL_X509_2FA, 0);
}

Result HandleSetOwnPassword(Call &call, const pb::SetOwnPassword &request,
                            pb::SetOwnPasswordReply *) {
    Session &session = call.session();
    // A token holder never proved the password, so it may not replace it.
    if (session.byAccessToken) return Result::kAccessDenied;
    if (Result r = SetPasswordChecked(call, session.user, request.password()); r != Result::kOk)
        return r;
    if (session.kind == SessionKind::kPasswordChange) session.kind = SessionKind::kUser;
    return Result::kOk;
}

Result HandleSetUserPassword(Call &call, const pb::SetUserPassword &request,
                             pb::SetUserPasswordReply *) {
    UserRecord target;
    if (Result r = FindAdministrable(call, request.user(), false, &target); r != Result::kOk)
        return r;
    return SetPasswordChecked(call, target.id, request.password());
}

Result HandleSetUserBlocked(Call &call, const pb::SetUserBlocked &request,
                            pb::SetUserBlockedReply *) {
    UserRecord target;
    if (Result r = FindAdministrable(call, request.user(), false, &target); r != Result::kOk)
        return r;
    return call.hsm.users.SetBlocked(call.actor(), target.id, request.blocked());
}

}  // namespace

void RegisterUserService(DispatchTable &table) {
    table.Add<&pb::Request::get_user_acl, &pb::Response::mutable_get_user_acl>(
        HandleGetUserAcl, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::get_user_status, &pb::Response::mutable_get_user_status>(
        HandleGetUserStatus, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::get_user_auth, &pb::Response::mutable_get_user_auth>(
        HandleGetUserAuth, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::set_user_acl, &pb::Response::mutable_set_user_acl>(
        HandleSetUserAcl, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::set_user_certificate, &pb::Response::mutable_set_user_certificate>(
        HandleSetUserCertificate, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::set_own_password, &pb::Response::mutable_set_own_password>(
        HandleSetOwnPassword, Needs::Nothing(), kNormalSessions | kPasswordChangeSessions);
    table.Add<&pb::Request::set_user_password, &pb::Response::mutable_set_user_password>(
        HandleSetUserPassword, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::set_user_blocked, &pb::Response::mutable_set_user_blocked>(
        HandleSetUserBlocked, Needs::Account(), kNormalSessions);
}

}  // namespace sim
