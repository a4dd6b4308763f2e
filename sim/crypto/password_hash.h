#pragma once
// Argon2id password hashes in the encoded form ($argon2id$v=19$...). Thread-safe; the
// number of hashes computed at once is bounded to cap memory under many logins.

#include <string>
#include <string_view>

namespace sim {

// Throws std::runtime_error when hashing fails.
std::string HashPassword(std::string_view password);

// Constant-time check of `password` against an encoded hash; false also for a bad hash.
bool VerifyPassword(const std::string &encoded, std::string_view password);

// Waits as long as a VerifyPassword takes, for a user that does not exist, so that the
// answer time does not tell which user ids exist. Uses no hashing slot once a real
// verification has been timed.
void VerifyPasswordOfNobody(std::string_view password);

}  // namespace sim
