#pragma once
// Keys brought in as clear components by custodians (EFT key ceremony).

#include <cstdint>
#include <string_view>
#include <vector>

#include "check_value.h"
#include "core/result.h"
#include "core/secret.h"

namespace sim {

inline constexpr size_t kKeyComponentCount = 3;

// What the custodians typed for one key.
struct KeyComponents {
    std::vector<std::string_view> parts;  // kKeyComponentCount; a 2-part DES key adds zeros
    std::vector<std::string_view> partCheckValues;  // DES family: a KCV per part; AES: none
    std::string_view keyCheckValue;                 // of the joined key
    wire::pb::CheckValueFormat format;  // of keyCheckValue for AES; the DES family uses KCVs
};

// Joins the parts (XOR) into a key of `algorithm` (DES, 3DES or AES), each part of the key's
// length. DES-family parts are checked against their KCVs and the key gets its parity back;
// the joined key is checked against keyCheckValue. Fails with kBadAlgorithm, kInvalidLength
// or kKcvMismatch and then leaves *key as it was.
Result JoinKeyComponents(uint32_t algorithm, const KeyComponents &components, SecretBytes *key);

// Splits `key` of `algorithm` (DES, 3DES or AES) into `parts` (2 or 3) random components whose
// XOR is the key, then pads *components with all-zero ones up to kKeyComponentCount. Random
// DES-family components have parity. Fails with kBadAlgorithm, kInvalidLength,
// kInvalidParameter (parts) or kInternal, and then leaves *components empty.
Result SplitKeyComponents(uint32_t algorithm, std::string_view key, size_t parts,
                          std::vector<SecretBytes> *components);

}  // namespace sim
