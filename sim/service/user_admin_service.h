#pragma once
// Creating, removing and listing accounts, and the trust relations between them. Removing a
// user also removes its partition (see UserStore::partitions) and ends its sessions.

#include "service/dispatch_table.h"

namespace sim {

void RegisterUserAdminService(DispatchTable &table);

}  // namespace sim
