#pragma once
// AES-256-GCM with a 12-byte nonce and a 16-byte tag: the one sealing primitive of the master
// key, of backups and of the shadows on smart cards.

#include <cstddef>
#include <string_view>

namespace wire {

inline constexpr size_t kGcmKeyBytes = 32;
inline constexpr size_t kGcmNonceBytes = 12;
inline constexpr size_t kGcmTagBytes = 16;

// Writes the ciphertext of `plain` followed by its tag (plain.size() + kGcmTagBytes bytes) to
// `out`. REQUIRES: key.size() == kGcmKeyBytes. Throws std::runtime_error when OpenSSL fails.
void GcmSeal(std::string_view key, const unsigned char *nonce, std::string_view plain,
             std::string_view associated, unsigned char *out);

// Writes the plaintext of `sealed` (ciphertext || tag) to `out` (sealed.size() - 16 bytes).
// False when the tag does not match the key, nonce, data and `associated`; `out` then holds
// nothing the caller may use.
bool GcmOpen(std::string_view key, const unsigned char *nonce, std::string_view sealed,
             std::string_view associated, unsigned char *out);

}  // namespace wire
