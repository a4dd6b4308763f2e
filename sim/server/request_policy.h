#pragma once
// The one step every request passes before its handler: whether its connection may send it
// at all, and whether the caller holds the right its rule names. Checks that are to come
// (user blocking, token expiry, M of N authorisation) belong here as well, so that no handler
// repeats them and a refused request never reaches one. The IP filter is not among them: it
// keeps a client out before its first request (the acceptor) and at its login.

#include "core/result.h"
#include "service/dispatch_table.h"

namespace sim {

// kOk when `call` may run the handler of a request with `rule`; fills call.caller when the
// rule needs an account. Otherwise the status the refusal answers, decided in this order:
// a restore waiting for the restart and a rule without kAfterRestore (kRestartRequired), no
// session yet (kNotAuthenticated), Login on a session (kBadState), a session whose user
// was removed (kSessionExpired; the session ends and the connection closes after the reply),
// the session's kind (kPasswordChangeOnly or kAccessDenied), the caller's rights
// (kAccessDenied), the M of N authorization of the caller's partition (kMofNNotAuthorized).
Result Admit(const Rule &rule, Call &call);

}  // namespace sim
