#pragma once
// Byte counts as the information and log screens show them.

#include <cstddef>

// "%.2f %s": below 1024 in bytes ("byte" for exactly 1), then KB, MB and GB (powers of 1024).
void FormatByteSize(double value, char *out, size_t size);
