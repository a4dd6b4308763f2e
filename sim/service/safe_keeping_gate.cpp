#include "service/safe_keeping_gate.h"

#include "constants.pb.h"

namespace sim {

bool PartitionUnderMofN(const UserRecord &user) {
    return (user.acl & wire::pb::ACL_MOFN_LOCAL) != 0;
}

}  // namespace sim
