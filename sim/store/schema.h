#pragma once
// Creates or upgrades the database schema. Idempotent; safe from several processes.

#include "store/database.h"

namespace sim {

inline constexpr int kSchemaVersion = 1;

// Throws StoreError when the file holds a newer schema than this program knows.
void EnsureSchema(Database &db);

}  // namespace sim
