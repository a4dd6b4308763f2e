#pragma once
// What the machine the simulator runs on says about its hardware, read from /sys, for the
// hardware log. A reading the machine does not offer says so rather than inventing a value.

#include <string>
#include <utility>
#include <vector>

namespace sim {

// (event, detail) pairs: "battery", "fan" and "temperature", in that order.
std::vector<std::pair<std::string, std::string>> ReadHardwareSensors();

}  // namespace sim
