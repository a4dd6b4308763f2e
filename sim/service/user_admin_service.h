#pragma once
// Creating, removing and listing accounts, and the trust relations between them.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

// REQUIRES (all): conn.session is set.
Result HandleCreateUser(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::CreateUser &request);
// Also removes the user's partition (see UserStore::partitions) and ends its sessions.
Result HandleRemoveUser(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::RemoveUser &request);
// Every user with its ACL and object counts.
Result HandleListUsers(HsmContext &hsm, const ConnectionState &conn, wire::pb::Response *response);
Result HandleListUserTrusts(HsmContext &hsm, const ConnectionState &conn,
                            const wire::pb::ListUserTrusts &request, wire::pb::Response *response);

}  // namespace sim
