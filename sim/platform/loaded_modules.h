#pragma once
// The components the simulator runs on, as "name version" texts: the libraries it links and
// the OpenSSL providers loaded at the moment of the call.

#include <string>
#include <vector>

namespace sim {

std::vector<std::string> LoadedModules();

}  // namespace sim
