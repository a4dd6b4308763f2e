#pragma once
// The commands of orvena-card. Exit codes: 0 done, 1 refused or failed (the reason on the
// error stream), 2 a usage error.

#include <ostream>
#include <string>
#include <vector>

namespace cards {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

// The --help text.
std::string CardUsage();

// Runs one command line (without the program name).
int RunCardCommand(const std::vector<std::string> &args, std::ostream &out, std::ostream &err);

}  // namespace cards
