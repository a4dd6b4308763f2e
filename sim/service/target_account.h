#pragma once
// The account a user-administration request acts on, and whether its caller may see or
// change it. These rules depend on the target, so they run in the handlers, after the policy
// step has read the caller's account.

#include <string_view>

#include "service/dispatch_table.h"

namespace sim {

// Whether `caller` may read the account `id`: its own, or any with the right to inspect.
bool MayInspectAccount(const UserRecord &caller, std::string_view id);

// The account `user` when the caller may read it; kAccessDenied, else kNotFound.
// REQUIRES: call.caller.
Result FindInspectable(const Call &call, std::string_view user, UserRecord *target);

// The account `user` when the caller may administer it, or when it is the caller's own and
// `selfAllowed`. A missing account is kNotFound only to callers who may inspect accounts, so
// that others cannot probe for names. REQUIRES: call.caller.
Result FindAdministrable(const Call &call, std::string_view user, bool selfAllowed,
                         UserRecord *target);

}  // namespace sim
