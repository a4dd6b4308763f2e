#pragma once
// The HSM-wide password rules in the compact form of the information screen.

#include <cstdint>

#include "qelvoarc.h"

// Reads the policy and prints one "%*s : %u" line per rule, labels right-aligned in `width`.
// Returns 0, or the library's code after reporting "Error recovering Password Policy.".
uint32_t ShowCompactPasswordPolicy(QSessionHandle session, int width);
