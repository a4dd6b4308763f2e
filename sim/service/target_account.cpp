#include "service/target_account.h"

#include "core/user_rights.h"

namespace sim {

bool MayInspectAccount(const UserRecord &caller, std::string_view id) {
    return id == caller.id || rights::MayInspect(caller.acl);
}

Result FindInspectable(const Call &call, std::string_view user, UserRecord *target) {
    if (!MayInspectAccount(*call.caller, user)) return Result::kAccessDenied;
    std::optional<UserRecord> found = call.hsm.users.FindUser(user);
    if (!found) return Result::kNotFound;
    *target = std::move(*found);
    return Result::kOk;
}

Result FindAdministrable(const Call &call, std::string_view user, bool selfAllowed,
                         UserRecord *target) {
    const UserRecord &caller = *call.caller;
    std::optional<UserRecord> found = call.hsm.users.FindUser(user);
    if (!found) return rights::MayInspect(caller.acl) ? Result::kNotFound : Result::kAccessDenied;
    if (!(selfAllowed && found->id == caller.id) && !rights::MayAdminister(caller.acl, found->acl))
        return Result::kAccessDenied;
    *target = std::move(*found);
    return Result::kOk;
}

}  // namespace sim
