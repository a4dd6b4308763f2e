#pragma once
// The one-line description of a key printed after it is generated or imported.

#include <cstdint>

#include "qelvoarc.h"

// Prints "Key <name>: <type>, <bits> bits, [not ]exportable[, blockchain compatible]
// [, usage profile: <profile>]" and an empty line on standard output. A failed parameter
// read ends the line with the library's error and returns its code; otherwise 0.
uint32_t ShowKeySummary(QKeyHandle key, const char *name);
