#include "service/mofn_guard.h"

#include "constants.pb.h"

namespace sim {

bool UnderMofN(const UserRecord &account) {
    return (account.acl & wire::pb::ACL_MOFN_LOCAL) != 0;
}

bool MofNGrants(HsmContext &hsm, const UserRecord &account, const Session *session,
                uint32_t permission) {
    if (!UnderMofN(account)) return false;
    const MofNPartition partition = hsm.mofn.Read(account.id);
    if ((partition.permissions & permission) != permission) return false;
    if (partition.state == MofNState::kAuthorized) return true;
    // A reset since the session was authorized ends its grant.
    return session != nullptr && session->user == account.id &&
           partition.state != MofNState::kInitial && !session->mofnSessionGrant.empty() &&
           session->mofnSessionGrant == partition.association;
}

Result CheckMofNPermission(HsmContext &hsm, const UserRecord &account, const Session *session,
                           uint32_t permission) {
    if (!UnderMofN(account) || MofNGrants(hsm, account, session, permission)) return Result::kOk;
    return Result::kMofNNotAuthorized;
}

}  // namespace sim
