#pragma once
// Shamir's secret sharing over GF(256), by libgfshare: `count` shares of which any
// `threshold` give the secret back. Thread-safe.

#include <cstdint>
#include <vector>

#include "core/result.h"
#include "core/secret.h"

namespace sim {

struct ShamirShare {
    uint8_t x = 0;  // the share's point, 1 to count; never 0
    SecretBytes y;  // as long as the secret
};

// Splits `secret` (not empty). kInternal when the random generator fails.
// REQUIRES: 2 <= threshold <= count <= 255.
Result ShamirSplit(std::string_view secret, uint8_t threshold, uint8_t count,
                   std::vector<ShamirShare> *shares);

// The secret the shares interpolate to. Given at least the split's threshold, it is the
// secret; fewer give unrelated bytes, which the caller tells apart by comparing.
// REQUIRES: shares not empty, distinct non-zero x, every y of one length.
SecretBytes ShamirCombine(const std::vector<ShamirShare> &shares);

}  // namespace sim
