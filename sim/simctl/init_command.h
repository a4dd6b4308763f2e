#pragma once
// orvena-simctl init: readies a data directory before the daemon first runs on it, so that a
// service manager starts the daemon only on a directory its administrator provisioned.

#include <ostream>
#include <string>
#include <vector>

namespace sim {

// True for "--data DIR init ...".
bool IsInitCommand(const std::vector<std::string> &args);

// Runs init with the daemon's meaning of --init-password, --model and --serial. Returns the
// process exit status: 0 the directory is ready, 1 it was ready already (nothing changed)
// or a failure, 2 bad usage.
int RunInitCommand(const std::vector<std::string> &args, std::ostream &out, std::ostream &err);

}  // namespace sim
