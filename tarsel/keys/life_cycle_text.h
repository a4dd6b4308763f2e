#pragma once
// Texts of a key's life-cycle record as the key information screen shows them.

#include <cstdint>
#include <string>

// "UNKNOWN", "PRE_ACTIVE", ... by the low byte of `state`; "UNKNOWN" above 7 and "" for 7.
const char *LifeCycleStateName(uint32_t state);

// The names of the usage bits set in `mask`, joined by ", ". The text lives in one buffer
// for the whole process that starts as "none" and is only rewritten for a non-zero mask, so
// a zero mask repeats the last text shown. Not thread-safe.
const char *LifeCycleMaskText(uint64_t mask);

// "none" for 0, otherwise the UTC time as "%Y-%m-%d %H:%M:%S GMT".
std::string LifeCycleDate(uint64_t secondsSince1970);
