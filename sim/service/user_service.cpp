#include "service/user_service.h"

#include "core/user_rights.h"
#include "crypto/certificate_der.h"
#include "crypto/password_hash.h"
#include "service/caller.h"

namespace sim {

namespace {

constexpr uint32_t kSecondFactorBits = acl::kOathSecondFactor | acl::kX509SecondFactor;

Result SetPasswordChecked(HsmContext &hsm, const std::string &user, const std::string &password) {
    if (Result r = CheckPassword(hsm.policy.Load(), password); r != Result::kOk) return r;
    return hsm.users.SetPassword(user, HashPassword(password));
}

Result SetOwnPassword(HsmContext &hsm, ConnectionState &conn, const std::string &password) {
    // A token holder never proved the password, so it may not replace it.
    if (conn.session->byAccessToken) return Result::kAccessDenied;
    if (Result r = SetPasswordChecked(hsm, conn.session->user, password); r != Result::kOk)
        return r;
    if (conn.session->kind == SessionKind::kPasswordChange) conn.session->kind = SessionKind::kUser;
    return Result::kOk;
}

// The second-factor bits follow the registered factors: a request may drop them (a change
// of type does) but never raise them.
Result SetAcl(HsmContext &hsm, const UserRecord &caller, const UserRecord &target,
              uint32_t requested) {
    uint32_t acl = (requested & ~kSecondFactorBits) | (requested & target.acl & kSecondFactorBits);
    if (!rights::MayGrant(caller.acl, target.acl, acl, false)) return Result::kAccessDenied;
    return hsm.users.SetAcl(target.id, acl);
}

Result SetCertificate(HsmContext &hsm, const UserRecord &target,
                      const wire::pb::SetUserParam &request) {
    if (request.operation() == kCertificateReset) {
        if (Result r = hsm.users.SetCertificate(target.id, ""); r != Result::kOk) return r;
        return hsm.users.ChangeAclFlags(target.id, 0, acl::kX509SecondFactor);
    }
    if (request.operation() != kCertificateAssign) return Result::kInvalidParameter;
    std::optional<std::string> der = CertificateToDer(request.data());
    if (!der) return Result::kInvalidParameter;
    if (Result r = hsm.users.SetCertificate(target.id, *der); r != Result::kOk) return r;
    return hsm.users.ChangeAclFlags(target.id, acl::kX509SecondFactor, 0);
}

}  // namespace

Result HandleGetUserAcl(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::GetUserAcl &request, wire::pb::Response *response) {
    if (request.user() != conn.session->user) {
        std::optional<UserRecord> caller = FindCaller(hsm, conn);
        if (!caller || !rights::MayInspect(caller->acl)) return Result::kAccessDenied;
    }
    std::optional<UserRecord> user = hsm.users.FindUser(request.user());
    if (!user) return Result::kNotFound;
    response->set_value(user->acl);
    return Result::kOk;
}

Result HandleGetUserParam(HsmContext &hsm, const ConnectionState &conn,
                          const wire::pb::GetUserParam &request, wire::pb::Response *response) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    if (request.user() != caller->id && !rights::MayInspect(caller->acl))
        return Result::kAccessDenied;
    std::optional<UserRecord> user = hsm.users.FindUser(request.user());
    if (!user) return Result::kNotFound;
    switch (request.code()) {
        case kUserParamStatus:
            response->set_value(user->blocked ? 1 : 0);
            return Result::kOk;
        case kUserParamMofN:
            // No M of N scheme is associated with a partition yet: the initial state, no
            // permissions.
            response->set_value(0);
            response->set_flags(0);
            return Result::kOk;
        case kUserParamObjectCount:
            for (const ObjectCount &entry : hsm.users.partitions().Count(user->id)) {
                wire::pb::ObjectCount *out = response->add_object_counts();
                out->set_object_type(entry.objectType);
                out->set_count(entry.count);
            }
            return Result::kOk;
        default:
            return Result::kNotSupported;
    }
}

Result HandleSetUserParam(HsmContext &hsm, ConnectionState &conn,
                          const wire::pb::SetUserParam &request) {
    if (request.code() == kUserParamOwnPassword) return SetOwnPassword(hsm, conn, request.data());
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    std::optional<UserRecord> target = hsm.users.FindUser(request.user());
    if (!target) return rights::MayInspect(caller->acl) ? Result::kNotFound : Result::kAccessDenied;
    if (!rights::MayAdminister(caller->acl, target->acl)) return Result::kAccessDenied;
    switch (request.code()) {
        case kUserParamAcl:
            return SetAcl(hsm, *caller, *target, request.acl());
        case kUserParamCertificate:
            return SetCertificate(hsm, *target, request);
        case kUserParamBlock:
            return hsm.users.SetBlocked(target->id, true);
        case kUserParamUnblock:
            return hsm.users.SetBlocked(target->id, false);
        case kUserParamPassword:
            return SetPasswordChecked(hsm, target->id, request.data());
        default:
            return Result::kNotSupported;
    }
}

}  // namespace sim
