#pragma once
// The replication operations of QAdmOperation: refresh (33) and the node operations (34).

#include <cstdint>

#include "qelvoarc.h"

namespace qelvoarc {

[[nodiscard]] uint32_t RefreshReplication(QSessionHandle handle);
// `data`: a QReplicationNodeOp of `length` bytes.
[[nodiscard]] uint32_t ReplicationNodeOperation(QSessionHandle handle, const void *data,
                                                uint32_t length);

}  // namespace qelvoarc
