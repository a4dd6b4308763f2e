#pragma once
// Access tokens: 16 bytes of user id (NUL-padded) followed by a 16-byte secret. Only the
// SHA-256 of the secret is stored.

#include <optional>
#include <string>
#include <string_view>

namespace sim {

inline constexpr size_t kAccessTokenBytes = 32;
inline constexpr size_t kAccessTokenSecretBytes = 16;

struct ParsedAccessToken {
    std::string userId;
    std::string secretHash;
};

// nullopt when the token is not 32 bytes or its user id part is empty.
std::optional<ParsedAccessToken> ParseAccessToken(std::string_view token);

// Builds a token with a fresh random secret for `userId` (at most 16 characters); the
// hash to store goes into *secretHash. The caller wipes the returned token.
std::string NewAccessToken(std::string_view userId, std::string *secretHash);

}  // namespace sim
