#pragma once
// Check values of the symmetric keys the HSM holds.

#include <cstdint>
#include <string_view>

#include "check_value.h"
#include "core/result.h"

namespace sim {

// The check value of `key` of algorithm `id`: DES, 3DES and AES in both formats; DESX, ARC4
// and ARC5 as a classic KCV only. kBadAlgorithm for any other key, kInvalidLength when the
// material does not fit the algorithm.
Result KeyCheckValue(uint32_t id, wire::pb::CheckValueFormat format, std::string_view key,
                     wire::CheckValue *out);

}  // namespace sim
