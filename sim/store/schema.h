#pragma once
// The one ordered list of schema steps for the whole database. Each step runs in its own
// transaction and moves PRAGMA user_version to its number, so an interrupted upgrade
// resumes where it stopped and several processes may open the file at once. The stores
// assume the schema exists; none creates or alters tables of its own.

#include <string_view>

#include "store/database.h"

namespace sim {

// Applies every step the file has not had yet. `serial` is the HSM's serial number, where
// a new event log starts its chain. Throws StoreError when the file holds a newer schema
// than this program knows.
void EnsureSchema(Database &db, std::string_view serial);

// True when the file was written by a program that knows more schema steps than this one.
bool HoldsNewerSchema(Database &db);

}  // namespace sim
