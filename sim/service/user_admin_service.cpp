#include "service/user_admin_service.h"

#include "core/user_rights.h"
#include "crypto/password_hash.h"
#include "service/caller.h"

namespace sim {

namespace {

constexpr uint32_t kTrustsGiven = 1;
constexpr uint32_t kTrustsReceived = 2;

// Second factors are switched on by registering the factor itself (token or certificate),
// never by the bare bit, which would lock the account out.
constexpr uint32_t kSecondFactorBits = acl::kOathSecondFactor | acl::kX509SecondFactor;

bool ValidUserId(const std::string &id) {
    return !id.empty() && id.size() <= kMaxUserIdLength && id.find('\0') == std::string::npos;
}

}  // namespace

Result HandleCreateUser(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::CreateUser &request) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    uint32_t acl = request.acl() & ~kSecondFactorBits;
    if (!rights::MayAdminister(caller->acl, acl) || !rights::MayGrant(caller->acl, 0, acl, true))
        return Result::kAccessDenied;
    if (!ValidUserId(request.user())) return Result::kInvalidParameter;
    if (Result r = CheckPassword(hsm.policy.Load(), request.password()); r != Result::kOk) return r;
    return hsm.users.AddUser(request.user(), HashPassword(request.password()), acl);
}

Result HandleRemoveUser(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::RemoveUser &request) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    std::optional<UserRecord> target = hsm.users.FindUser(request.user());
    if (!target)
        return rights::Holds(caller->acl, acl::kCreateRemoveUsers) ? Result::kNotFound
                                                                   : Result::kAccessDenied;
    if (!rights::MayAdminister(caller->acl, target->acl)) return Result::kAccessDenied;
    // An account cannot pull the floor from under its own session.
    if (target->id == caller->id) return Result::kBadState;
    if (Result r = hsm.users.RemoveUser(target->id); r != Result::kOk) return r;
    hsm.sessions.EndSessionsOf(target->id);
    return Result::kOk;
}

Result HandleListUsers(HsmContext &hsm, const ConnectionState &conn, wire::pb::Response *response) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller || !rights::Holds(caller->acl, acl::kListUsers)) return Result::kAccessDenied;
    // Each line carries what the list shows, so listing costs one exchange, not two per user.
    for (auto &[id, acl] : hsm.users.ListUsers()) {
        wire::pb::UserSummary *summary = response->add_users();
        for (const ObjectCount &entry : hsm.users.partitions().Count(id)) {
            wire::pb::ObjectCount *out = summary->add_object_counts();
            out->set_object_type(entry.objectType);
            out->set_count(entry.count);
        }
        summary->set_user(std::move(id));
        summary->set_acl(acl);
    }
    return Result::kOk;
}

// The simulator keeps no trust relations between partitions, so every existing user has
// none in either direction.
Result HandleListUserTrusts(HsmContext &hsm, const ConnectionState &conn,
                            const wire::pb::ListUserTrusts &request, wire::pb::Response *) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    if (request.user() != caller->id && !rights::MayInspect(caller->acl))
        return Result::kAccessDenied;
    if (request.direction() != kTrustsGiven && request.direction() != kTrustsReceived)
        return Result::kInvalidParameter;
    return hsm.users.FindUser(request.user()) ? Result::kOk : Result::kNotFound;
}

}  // namespace sim
