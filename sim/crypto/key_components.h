#pragma once
// Keys brought in as clear components by custodians (EFT key ceremony).

#include <cstdint>
#include <string_view>

#include "check_value.h"
#include "core/result.h"
#include "core/secret.h"

namespace sim {

inline constexpr size_t kDesComponentRecordBytes = 84;
inline constexpr size_t kAesComponentRecordBytes = 103;

// Joins the components of `record` (XOR) into a key of `algorithm` (DES and 3DES: the
// 84-byte record, every component checked against its KCV; AES: the 103-byte record, whose
// attribute word is stored in *attributes) and checks the whole key's check value, in
// `format` for AES and as a KCV for the DES family. *attributes is 0 for DES-family records.
// Fails with kBadAlgorithm, kInvalidLength or kKcvMismatch and then stores nothing.
Result JoinKeyComponents(uint32_t algorithm, std::string_view record, wire::CheckValueFormat format,
                         SecretBytes *key, uint32_t *attributes);

}  // namespace sim
