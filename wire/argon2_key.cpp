#include "argon2_key.h"

#include <argon2.h>

#include <stdexcept>

namespace wire {

void DeriveArgon2id(std::string_view secret, std::string_view salt, const Argon2Params &params,
                    unsigned char *out, size_t size) {
    const int rc =
        argon2id_hash_raw(params.timeCost, params.memoryKiB, params.parallelism, secret.data(),
                          secret.size(), salt.data(), salt.size(), out, size);
    if (rc != ARGON2_OK) throw std::runtime_error(argon2_error_message(rc));
}

}  // namespace wire
