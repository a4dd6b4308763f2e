#include "service/access_token.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <stdexcept>

#include "crypto/sha256.h"

namespace sim {

namespace {

constexpr size_t kUserIdBytes = kAccessTokenBytes - kAccessTokenSecretBytes;

}  // namespace

std::optional<ParsedAccessToken> ParseAccessToken(std::string_view token) {
    if (token.size() != kAccessTokenBytes) return std::nullopt;
    std::string_view idField = token.substr(0, kUserIdBytes);
    std::string userId(idField.substr(0, idField.find('\0')));
    if (userId.empty()) return std::nullopt;
    return ParsedAccessToken{userId, Sha256(token.substr(kUserIdBytes))};
}

std::string NewAccessToken(std::string_view userId, std::string *secretHash) {
    if (userId.size() > kUserIdBytes) throw std::invalid_argument("user id too long");
    std::string token(kAccessTokenBytes, '\0');
    token.replace(0, userId.size(), userId);
    auto *secret = reinterpret_cast<unsigned char *>(token.data() + kUserIdBytes);
    if (RAND_bytes(secret, kAccessTokenSecretBytes) != 1) {
        OPENSSL_cleanse(token.data(), token.size());
        throw std::runtime_error("RAND_bytes failed");
    }
    *secretHash = Sha256(std::string_view(token).substr(kUserIdBytes));
    return token;
}

}  // namespace sim
