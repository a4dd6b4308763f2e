#pragma once
// Payment keys of the caller's partition: CVVs, keys exchanged under a key-encryption key and
// keys handed out as custodians' components. Each operation is logged, refusals included.

#include "service/dispatch_table.h"

namespace sim {

void RegisterEftKeyService(DispatchTable &table);

}  // namespace sim
