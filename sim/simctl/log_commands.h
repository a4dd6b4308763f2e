#pragma once
// orvena-simctl's event-log commands. They read a data directory's database, or an exported
// file, without opening the directory's stores, so they never create a directory or key.

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

bool IsLogCommand(std::string_view name);

// Runs verify-log or export-log (`args` starts with its name). Returns the process exit
// status: 0 a whole log (or a done export), 1 a broken log or a failure, 2 bad usage.
int RunLogCommand(const std::vector<std::string> &args, std::ostream &out, std::ostream &err);

}  // namespace sim
