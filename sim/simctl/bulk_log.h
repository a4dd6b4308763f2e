#pragma once
// Bulk lines in the event log with chosen times (tests and benchmarks that need a long log,
// or one spanning several days).

#include <cstdint>
#include <string>

#include "daemon/data_directory.h"

namespace sim {

// Appends `count` lines "<text> <n>" (n from 1) to the chain as orvena-simctl's own events,
// the first at `from` and each next `step` seconds later, in transactions of many lines.
void AppendLogLines(DataDirectory &data, int64_t count, int64_t from, int64_t step,
                    const std::string &text);

}  // namespace sim
