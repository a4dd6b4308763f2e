#pragma once
// Login and logout. Login is the only request served before a session exists.

#include "service/dispatch_table.h"

namespace sim {

// Login: authenticates and, on success (or an expired password), opens the connection's
// session. Logout: ends it.
void RegisterLoginService(DispatchTable &table);

}  // namespace sim
