#pragma once
// Reading and changing the parameters of one account.

#include "service/dispatch_table.h"

namespace sim {

void RegisterUserService(DispatchTable &table);

}  // namespace sim
