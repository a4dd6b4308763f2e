#include "replication_api.h"

#include <arpa/inet.h>

#include <cstring>

#include "remote_call.h"

namespace qelvoarc {

uint32_t RefreshReplication(QSessionHandle handle) {
    return Remote<pb::RefreshReplicationReply>(handle, pb::RefreshReplication());
}

uint32_t ReplicationNodeOperation(QSessionHandle handle, const void *data, uint32_t length) {
    if (data == nullptr || length != sizeof(QReplicationNodeOp))
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    QReplicationNodeOp operation;
    std::memcpy(&operation, data, sizeof operation);
    if (operation.operation < pb::NODE_TEST || operation.operation > pb::NODE_DELETE)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    char address[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, operation.address, address, sizeof address);
    pb::NodeOperation request;
    request.set_kind(static_cast<pb::NodeOperationKind>(operation.operation));
    request.set_address(address);
    return Remote<pb::NodeOperationReply>(handle, std::move(request));
}

}  // namespace qelvoarc
