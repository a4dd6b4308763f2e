#include "crypto/sha256.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace sim {

std::string Sha256(std::string_view bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha256(), nullptr) != 1)
        throw std::runtime_error("SHA-256 failed");
    return std::string(reinterpret_cast<char *>(digest), length);
}

}  // namespace sim
