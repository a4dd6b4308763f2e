#pragma once
// Check values of symmetric key material, computed the same way by the device library
// (offline, for custodians) and by the HSM (for stored keys and imports).

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "constants.pb.h"
#include "status.h"

namespace wire {

inline constexpr size_t kCheckValueBytes = 3;
using CheckValue = std::array<uint8_t, kCheckValueBytes>;

// DES and both 3DES lengths: keys with parity, whose components carry a check value each.
bool IsDesFamily(uint32_t algorithm);
bool IsAes(uint32_t algorithm);

// Key length in bytes of a symmetric algorithm identifier (DES, 3DES, DESX, AES, ARC4, ARC5,
// HMAC); 0 for anything else.
uint32_t SymmetricKeyLength(uint32_t algorithm);

// The check value of DES, 3DES (112/168) or AES key material: KCV_CLASSIC, the first bytes
// of a zero block encrypted in ECB mode, or KCV_CMAC, those of its CMAC. Returns OK,
// ERR_INVALID_PARAMETER for another format, ERR_BAD_ALGORITHM for other algorithms,
// ERR_INVALID_LENGTH when the key does not have the algorithm's length, or ERR_INTERNAL
// when OpenSSL fails.
[[nodiscard]] Status ComputeCheckValue(uint32_t algorithm, pb::CheckValueFormat format,
                                       std::string_view key, CheckValue *out);

// `in` (whole 8-byte blocks) through DES or 3DES in ECB mode under a key of 8, 16 or 24
// bytes, encrypting or decrypting into *out. Returns OK, ERR_INVALID_LENGTH for a key or data
// of another length, or ERR_INTERNAL when OpenSSL fails.
[[nodiscard]] Status DesFamilyEcb(std::string_view key, bool encrypt, std::string_view in,
                                  std::string *out);

}  // namespace wire
