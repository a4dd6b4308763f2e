#pragma once
// Whole-HSM backup and restore, streamed in parts (wire/backup.proto).

#include "service/dispatch_table.h"

namespace sim {

void RegisterBackupService(DispatchTable &table);

}  // namespace sim
