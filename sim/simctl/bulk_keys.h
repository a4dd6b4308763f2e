#pragma once
// Bulk provisioning of keys into a user's partition (tests and benchmarks).

#include <cstdint>
#include <string>

#include "core/result.h"
#include "daemon/data_directory.h"

namespace sim {

// Generates `count` keys of `algorithm` named prefix0 .. prefix<count-1> in the partition
// of `user`, in one transaction: all are stored or none. kNotFound for an unknown user,
// kBadAlgorithm for an identifier the HSM cannot generate, kAlreadyExists on a name clash.
Result CreateKeys(DataDirectory &data, const std::string &user, uint32_t count, uint32_t algorithm,
                  const std::string &prefix);

}  // namespace sim
