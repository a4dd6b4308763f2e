#pragma once
// SHA-256 of bytes, for the stored hashes of access-token secrets and the event-log chain.

#include <string>
#include <string_view>

namespace sim {

inline constexpr size_t kSha256Bytes = 32;

// The 32-byte digest of `bytes`. Throws std::runtime_error when OpenSSL fails.
std::string Sha256(std::string_view bytes);

}  // namespace sim
