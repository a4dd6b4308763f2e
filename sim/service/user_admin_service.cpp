#include "service/user_admin_service.h"

#include "core/user_rights.h"
#include "crypto/password_hash.h"
#include "service/mofn_guard.h"
#include "service/target_account.h"

namespace sim {

namespace {

// Second factors are switched on by registering the factor itself (token or certificate),
// never by the bare bit, which would lock the account out.
constexpr uint32_t kSecondFactorBits = pb::ACL_OATH_2FA | pb::ACL_X509_2FA;

bool ValidUserId(const std::string &id) {
    return !id.empty() && id.size() <= kMaxUserIdLength && id.find('\0') == std::string::npos;
}

void AddCounts(const std::vector<ObjectCount> &counts,
               google::protobuf::RepeatedPtrField<pb::ObjectCount> *out) {
    for (const ObjectCount &entry : counts) {
        pb::ObjectCount *count = out->Add();
        count->set_object_type(entry.objectType);
        count->set_count(entry.count);
    }
}

Result HandleCreateUser(Call &call, const pb::CreateUser &request, pb::CreateUserReply *) {
    const UserRecord &caller = *call.caller;
    uint32_t acl = request.acl() & ~kSecondFactorBits;
    if (!rights::MayAdminister(caller.acl, acl) || !rights::MayGrant(caller.acl, 0, acl, true))
        return Result::kAccessDenied;
    if (!ValidUserId(request.user())) return Result::kInvalidParameter;
    if (Result r = CheckPassword(call.hsm.policy.Load(), request.password()); r != Result::kOk)
        return r;
    return call.hsm.users.AddUser(call.actor(), request.user(), HashPassword(request.password()),
                                  acl);
}

Result HandleRemoveUser(Call &call, const pb::RemoveUser &request, pb::RemoveUserReply *) {
    const UserRecord &caller = *call.caller;
    std::optional<UserRecord> target = call.hsm.users.FindUser(request.user());
    if (!target) return Result::kNotFound;
    if (!rights::MayAdminister(caller.acl, target->acl)) return Result::kAccessDenied;
    // An account cannot pull the floor from under its own session.
    if (target->id == caller.id) return Result::kBadState;
    // The remover's session is not the partition's, so only a standing authorization counts.
    if (Result r =
            CheckMofNPermission(call.hsm, *target, nullptr, pb::MOFN_PERMISSION_PARTITION_REMOVE);
        r != Result::kOk)
        return r;
    if (Result r = call.hsm.users.RemoveUser(call.actor(), target->id); r != Result::kOk) return r;
    call.hsm.sessions.EndSessionsOf(target->id);
    return Result::kOk;
}

// Each line carries what the list shows, so listing costs one exchange, not two per user.
Result HandleListUsers(Call &call, const pb::ListUsers &, pb::ListUsersReply *reply) {
    for (auto &[id, acl] : call.hsm.users.ListUsers()) {
        pb::UserSummary *summary = reply->add_users();
        AddCounts(call.hsm.users.partitions().Count(id), summary->mutable_object_counts());
        summary->set_user(std::move(id));
        summary->set_acl(acl);
    }
    return Result::kOk;
}

// The simulator keeps no trust relations between partitions, so every existing user has
// none in either direction.
Result HandleListUserTrusts(Call &call, const pb::ListUserTrusts &request,
                            pb::ListUserTrustsReply *) {
    if (!MayInspectAccount(*call.caller, request.user())) return Result::kAccessDenied;
    if (request.direction() != pb::TRUST_TRUSTED_BY_USER &&
        request.direction() != pb::TRUST_TRUSTING_USER)
        return Result::kInvalidParameter;
    return call.hsm.users.FindUser(request.user()) ? Result::kOk : Result::kNotFound;
}

Result HandleGetObjectCounts(Call &call, const pb::GetObjectCounts &request,
                             pb::GetObjectCountsReply *reply) {
    UserRecord user;
    if (Result r = FindInspectable(call, request.user(), &user); r != Result::kOk) return r;
    AddCounts(call.hsm.users.partitions().Count(user.id), reply->mutable_counts());
    return Result::kOk;
}

}  // namespace

void RegisterUserAdminService(DispatchTable &table) {
    table.Add<&pb::Request::create_user, &pb::Response::mutable_create_user>(
        HandleCreateUser, Needs::Acl(pb::ACL_CREATE_USERS), kNormalSessions);
    table.Add<&pb::Request::remove_user, &pb::Response::mutable_remove_user>(
        HandleRemoveUser, Needs::Acl(pb::ACL_CREATE_USERS), kNormalSessions);
    table.Add<&pb::Request::list_users, &pb::Response::mutable_list_users>(
        HandleListUsers, Needs::Acl(pb::ACL_LIST_USERS), kNormalSessions);
    table.Add<&pb::Request::list_user_trusts, &pb::Response::mutable_list_user_trusts>(
        HandleListUserTrusts, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::get_object_counts, &pb::Response::mutable_get_object_counts>(
        HandleGetObjectCounts, Needs::Account(), kNormalSessions);
}

}  // namespace sim
