#pragma once
// Choosing an HSM found on the local network.

#include <cstdint>

// Searches, lists what answered as " n - address" and asks which to use. On 0 the chosen
// address (at most 16 bytes, terminated) is in `address`. Returns 1 when nothing was found
// or the choice was refused, or the library's code.
// REQUIRES: address holds at least 17 bytes.
uint32_t SelectNearbyHsm(char *address);
