#pragma once
// The event-log line of an operation whose refusals are logged as well as its success.

#include <string>

#include "service/dispatch_table.h"
#include "status.h"

namespace sim {

// Logs the outcome of `operation` and returns `result`. `successLogged`: a success already
// wrote its own line (a stored key logs itself), so only a refusal is written here.
inline Result Logged(Call &call, const std::string &operation, Result result, bool successLogged) {
    if (result != Result::kOk)
        call.hsm.events.Record(call.actor(), operation, wire::StatusText(ToWireStatus(result)));
    else if (!successLogged)
        call.hsm.events.Record(call.actor(), operation, kEventOk);
    return result;
}

}  // namespace sim
