#pragma once
// One object of the partition backed up as a blob under the master key, and brought back.

#include "service/dispatch_table.h"

namespace sim {

void RegisterObjectBackupService(DispatchTable &table);

}  // namespace sim
