#pragma once
// Runs one request: its entry in a dispatch table, the policy step, its handler. The only
// place where internal results become wire statuses.

#include "envelope.pb.h"
#include "service/dispatch_table.h"
#include "service/hsm_context.h"

namespace sim {

// Handles `request` for the connection with the entries of `table` (ServiceTable() in the
// daemon) and returns the response to send. A request of a session that the policy step
// refuses for want of rights is recorded in the event log, by its name only: the reply body with OK
// (and with the expired password of a login), the status alone otherwise. Never throws: a failure
// inside a handler answers ERR_INTERNAL and its cause goes to hsm.log. Every secret field of
// `request` is wiped on return; the response's are wiped by the sender once sent (SendResponse).
pb::Response Dispatch(const DispatchTable &table, HsmContext &hsm, ConnectionState &conn,
                      pb::Request &request);

}  // namespace sim
