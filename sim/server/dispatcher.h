#pragma once
// Routes one request to its handler after the checks every request shares: login first,
// what anonymous and expired-password sessions may do. The only place where internal
// results become wire statuses.

#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

// Handles `request` for the connection and returns the response to send. Never throws:
// failures inside a handler answer ERR_INTERNAL. Secrets the request carried are wiped.
wire::pb::Response Dispatch(HsmContext &hsm, ConnectionState &conn, wire::pb::Request &request);

}  // namespace sim
