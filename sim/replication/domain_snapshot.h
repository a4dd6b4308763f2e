#pragma once
// A full copy of the tables a replication domain shares, for a node too far behind for the
// journal: the node serving it copies them into an in-memory database in one read snapshot
// and sends its image; the node taking it replaces its own tables from that image in one
// transaction. Each node's own tables (event logs, network settings, cloud binding, the
// replication tables) are neither sent nor touched.

#include <cstdint>
#include <string>

#include "store/database.h"

namespace sim {

// The shared tables, every referenced table before the tables that reference it.
extern const char *const kSharedTables[];
extern const size_t kSharedTableCount;
bool IsSharedTable(std::string_view table);

// The image of the shared tables and of the sync point they stand at. REQUIRES: no
// transaction is open on `db`.
std::string TakeSnapshot(Database &db);

// Replaces the shared tables from `image` (taken by a node of the same schema) and takes its
// sync point, with an empty journal. False, with nothing changed, when the image is not one.
// REQUIRES: no transaction is open on `db`.
bool RestoreSnapshot(Database &db, std::string &image);

}  // namespace sim
