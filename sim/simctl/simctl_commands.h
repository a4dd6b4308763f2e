#pragma once
// The provisioning commands of orvena-simctl, run against an open data directory.

#include <ostream>
#include <string>
#include <vector>

#include "daemon/data_directory.h"

namespace sim {

// Runs one command (`args` starts with its name). Results go to `out`, messages to `err`.
// Returns the process exit status: 0 success, 1 failure, 2 bad usage.
int RunSimctlCommand(DataDirectory &data, const std::vector<std::string> &args, std::ostream &out,
                     std::ostream &err);

const char *SimctlUsage();

}  // namespace sim
