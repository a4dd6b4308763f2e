#pragma once
// The HSM-wide password policy: read by every user, defined by an operator.

#include "service/dispatch_table.h"

namespace sim {

void RegisterPasswordPolicyService(DispatchTable &table);

}  // namespace sim
