#pragma once
// The tamper latch: once set it stays set, across restarts, until it is cleared on purpose
// (orvena-simctl). It is a file in the data directory, so that a running daemon sees a
// change made by orvena-simctl at its next read.

#include <string>

namespace sim {

bool TamperLatched(const std::string &dataDir);

// Sets or clears the latch. Throws std::runtime_error when the file cannot be changed.
void SetTamperLatch(const std::string &dataDir, bool tampered);

}  // namespace sim
