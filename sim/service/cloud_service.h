#pragma once
// The HSM's cloud binding (bind keys of cloud.crt's signer, for this HSM only) and its
// security policy word. Both are an operator's to change; each change is logged.

#include "service/dispatch_table.h"

namespace sim {

void RegisterCloudService(DispatchTable &table);

}  // namespace sim
