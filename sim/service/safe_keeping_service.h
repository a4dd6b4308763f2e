#pragma once
// Kept secrets of the caller's partition: made inside the HSM, handed out only as shares and
// brought back from them under the secret's authentication type. Every operation is logged,
// refusals included, and no log line holds a share or a secret.

#include "service/dispatch_table.h"

namespace sim {

void RegisterSafeKeepingService(DispatchTable &table);

}  // namespace sim
