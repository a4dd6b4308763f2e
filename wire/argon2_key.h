#pragma once
// Argon2id over a secret someone types: the keys the HSM derives from backup passwords and
// the verifier and key a smart card derives from its PIN.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace wire {

struct Argon2Params {
    uint32_t timeCost = 2;
    uint32_t memoryKiB = 19 * 1024;
    uint32_t parallelism = 1;
};

// Fills the `size` bytes at `out` with Argon2id over `secret` and `salt`. Throws
// std::runtime_error when Argon2 refuses the parameters.
void DeriveArgon2id(std::string_view secret, std::string_view salt, const Argon2Params &params,
                    unsigned char *out, size_t size);

}  // namespace wire
