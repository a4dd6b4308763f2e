#pragma once
// Argon2id password hashes in the encoded form ($argon2id$v=19$...). Thread-safe; the
// number of hashes computed at once is bounded to cap memory under many logins.

#include <cstdint>
#include <string>
#include <string_view>

#include "argon2_key.h"
#include "core/secret.h"

namespace sim {

// Throws std::runtime_error when hashing fails.
std::string HashPassword(std::string_view password);

// Constant-time check of `password` against an encoded hash; false also for a bad hash.
bool VerifyPassword(const std::string &encoded, std::string_view password);

// Waits as long as a VerifyPassword takes, for a user that does not exist, so that the
// answer time does not tell which user ids exist. Uses no hashing slot once a real
// verification has been timed.
void VerifyPasswordOfNobody(std::string_view password);

// Argon2id parameters of a key derived from a password.
using PasswordKeyParams = wire::Argon2Params;

// `bytes` bytes of Argon2id over `password` and `salt`, taking a hashing slot like a login.
// Throws std::runtime_error when Argon2 refuses the parameters.
SecretBytes DerivePasswordKey(std::string_view password, std::string_view salt,
                              const PasswordKeyParams &params, size_t bytes);

}  // namespace sim
