#pragma once
// What the machine the simulator runs on measures of itself, read from /proc and the file
// system. Each figure is read afresh on every call. Thread-safe.

#include <cstdint>
#include <string>

namespace sim {

struct MemoryFigures {
    uint64_t totalKib = 0;
    uint64_t usedKib = 0;  // total less what the kernel counts as available
    uint64_t swapTotalKib = 0;
    uint64_t swapUsedKib = 0;
};

struct StorageFigures {
    uint64_t totalBytes = 0;
    uint64_t freeBytes = 0;  // available to an unprivileged process
};

// `value`, or the largest 32-bit value when it does not fit: the records carry 32-bit figures.
uint32_t SaturateTo32(uint64_t value);

// /proc/meminfo; all zero when it cannot be read.
MemoryFigures ReadMemory();

// The share of CPU time the machine spent busy since the previous call of this function in
// the process (the first call: since boot), in percent (0-100).
uint32_t CpuPercentSinceLastCall();

// The one-minute load average times 100, from /proc/loadavg; 0 when unreadable.
uint32_t LoadAverageHundredths();

// The file system holding `path`; all zero when it cannot be read.
StorageFigures ReadStorage(const std::string &path);

// The size of the file at `path`, 0 when it does not exist.
uint64_t FileSize(const std::string &path);

}  // namespace sim
