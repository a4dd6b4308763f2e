#include "service/user_service.h"

#include "core/acl.h"
#include "crypto/password_hash.h"

namespace sim {

Result HandleGetUserAcl(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::GetUserAcl &request, wire::pb::Response *response) {
    const std::string &caller = conn.session->user;
    if (request.user() != caller) {
        std::optional<UserRecord> self = hsm.users.FindUser(caller);
        constexpr uint32_t kMayRead = acl::kOperator | acl::kCreateRemoveUsers | acl::kListUsers;
        if (!self || (self->acl & kMayRead) == 0) return Result::kAccessDenied;
    }
    std::optional<UserRecord> user = hsm.users.FindUser(request.user());
    if (!user) return Result::kNotFound;
    response->set_value(user->acl);
    return Result::kOk;
}

Result HandleSetUserParam(HsmContext &hsm, ConnectionState &conn,
                          const wire::pb::SetUserParam &request) {
    if (request.code() != kUserParamOwnPassword) return Result::kNotSupported;
    if (Result r = CheckPassword(hsm.users.LoadPolicy(), request.data()); r != Result::kOk)
        return r;
    if (Result r = hsm.users.SetPassword(conn.session->user, HashPassword(request.data()));
        r != Result::kOk)
        return r;
    if (conn.session->kind == SessionKind::kPasswordChange) conn.session->kind = SessionKind::kUser;
    return Result::kOk;
}

}  // namespace sim
