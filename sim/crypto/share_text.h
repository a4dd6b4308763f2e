#pragma once
// The text of one share of a kept secret, as its custodian holds it: base62 of a version
// byte (1), the share's point, the split's threshold and the share's bytes. A 160-bit
// secret gives 32 characters at most.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "crypto/shamir.h"

namespace sim {

struct ShareOfText {
    ShamirShare share;
    uint8_t threshold = 0;
};

// The share's text; it is a secret, wiped by the caller.
std::string ShareToText(const ShamirShare &share, uint8_t threshold);

// The share `text` holds, or nullopt when it is not a share of a secret of `secretLength`
// bytes (a wrong character, another version, a zero point or threshold below 2).
std::optional<ShareOfText> ShareFromText(std::string_view text, size_t secretLength);

}  // namespace sim
