#pragma once
// The event log outside the database: the export file (event_log_format.md) and the check
// of a chain, in the database or in such a file.

#include <cstdint>
#include <istream>
#include <ostream>

#include "store/database.h"
#include "store/event_chain.h"

namespace sim {

// Writes the whole log of `db` to `out` as one consistent snapshot; returns how many lines.
int64_t ExportEventLog(Database &db, std::ostream &out);

// Checks the chain of the log in `db` against the serial and last line the database keeps.
ChainReport VerifyEventLog(Database &db);
// Checks an exported log against the serial and last line its header names.
ChainReport VerifyEventLogFile(std::istream &in);

}  // namespace sim
