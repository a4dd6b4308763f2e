#pragma once
// The event-log line of an operation whose store does not log every outcome itself.

#include <string>

#include "service/dispatch_table.h"

namespace sim {

// Logs `operation` with the status text of `result` when it failed, and with "ok" when it
// succeeded and `successLogged` is false (a store that committed a change already logged
// it). Returns `result`.
Result Logged(Call &call, const std::string &operation, Result result, bool successLogged);

}  // namespace sim
