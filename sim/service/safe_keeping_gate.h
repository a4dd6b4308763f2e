#pragma once
// Whether a partition stands under M of N, for the secrets that are recovered only there.

#include "store/user_store.h"

namespace sim {

// True when the partition of `user` is under M of N (the ACL's M of N bit).
bool PartitionUnderMofN(const UserRecord &user);

}  // namespace sim
