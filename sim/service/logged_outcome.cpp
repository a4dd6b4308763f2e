#include "service/logged_outcome.h"

namespace sim {

Result Logged(Call &call, const std::string &operation, Result result, bool successLogged) {
    if (result != Result::kOk)
        call.hsm.events.Record(call.actor(), operation, wire::StatusText(ToWireStatus(result)));
    else if (!successLogged)
        call.hsm.events.Record(call.actor(), operation, kEventOk);
    return result;
}

}  // namespace sim
