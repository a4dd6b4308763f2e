#pragma once
// Who may do what to which account. Pure functions over ACL words so that every rule has
// one definition shared by all services.

#include <cstdint>

#include "constants.pb.h"

namespace sim::rights {

// The permission bits one user can hold and hand on; the other ACL bits are flags of the
// account (second factors, M of N, local-crypto, change at logon).
inline constexpr uint32_t kPermissionBits = wire::pb::ACL_CREATE_USERS | wire::pb::ACL_REMOTE_INFO |
                                            wire::pb::ACL_LIST_USERS | wire::pb::ACL_BACKUP |
                                            wire::pb::ACL_FIRMWARE;

inline bool IsOperator(uint32_t acl) {
    return (acl & wire::pb::ACL_OPERATOR) != 0;
}

// An operator holds every permission.
inline bool Holds(uint32_t acl, uint32_t permission) {
    return IsOperator(acl) || (acl & permission) == permission;
}

// Creating, removing and administering accounts (block, passwords, second factors). Only
// an operator touches an operator's account.
inline bool MayAdminister(uint32_t callerAcl, uint32_t targetAcl) {
    if (IsOperator(targetAcl)) return IsOperator(callerAcl);
    return Holds(callerAcl, wire::pb::ACL_CREATE_USERS);
}

// Whether `caller` may give an account the word `newAcl`, the account holding `oldAcl`
// before (0 for a new account). Only operators make operators or change an account's type,
// and nobody hands on a permission it does not hold itself.
inline bool MayGrant(uint32_t callerAcl, uint32_t oldAcl, uint32_t newAcl, bool isNew) {
    if (IsOperator(callerAcl)) return true;
    if (IsOperator(newAcl) || (!isNew && IsOperator(oldAcl))) return false;
    uint32_t added = newAcl & ~oldAcl & kPermissionBits;
    return (added & ~callerAcl) == 0;
}

// Reading another account's ACL, status and partition summary.
inline bool MayInspect(uint32_t callerAcl) {
    return IsOperator(callerAcl) ||
           (callerAcl & (wire::pb::ACL_CREATE_USERS | wire::pb::ACL_LIST_USERS));
}

}  // namespace sim::rights
