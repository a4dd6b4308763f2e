#pragma once
// Keys of the caller's partition as the key services store and open them.

#include <cstdint>
#include <string>

#include "core/secret.h"
#include "crypto/key_algorithm.h"
#include "crypto/key_generator.h"
#include "service/dispatch_table.h"

namespace sim {

enum class KeyOrigin { kGenerated, kImported };

// Seals `material` under the master key and stores it as `name` in the caller's partition,
// logging `event` with the name. *info describes the new key on success.
Result StoreKey(Call &call, const std::string &name, const KeyAlgorithm &algorithm,
                uint32_t attributes, const KeyMaterial &material, KeyOrigin origin,
                const std::string &event, wire::pb::ObjectInfo *info);

// The key `name` of the caller's partition with its clear material: kNotFound,
// kWrongObjectType for another kind of object, or kInternal when it does not unseal.
Result OpenKey(Call &call, const std::string &name, StoredObject *object, SecretBytes *material);

// An event text naming the algorithm of a key.
std::string AlgorithmNote(const char *what, const KeyAlgorithm &algorithm);

}  // namespace sim
