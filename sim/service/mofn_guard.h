#pragma once
// What the M of N authorization of a partition allows. A partition is under M of N when its
// account holds ACL_MOFN_LOCAL; its custodians then grant permissions (pb::MofNPermission)
// either to every session (state Authorized) or to one session (session authorization, good
// while the partition keeps the set that gave it). In the states Initial and Associated
// nothing is granted to any other session.

#include <cstdint>

#include "service/hsm_context.h"
#include "store/user_store.h"

namespace sim {

// True when `account`'s partition is under M of N.
bool UnderMofN(const UserRecord &account);

// True when `account`'s partition is under M of N and its authorization currently grants
// every bit of `permission` — to all sessions, or to `session` (null: to no particular
// session). With `permission` 0, true when the partition is authorized at all.
bool MofNGrants(HsmContext &hsm, const UserRecord &account, const Session *session,
                uint32_t permission);

// kOk when `account`'s partition is not under M of N or MofNGrants; else kMofNNotAuthorized.
Result CheckMofNPermission(HsmContext &hsm, const UserRecord &account, const Session *session,
                           uint32_t permission);

}  // namespace sim
