#pragma once
// Keys of the caller's partition as the key services store and open them.

#include <cstdint>
#include <string>
#include <string_view>

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

// The key `name` of `owner`'s partition with its clear material: kNotFound,
// kWrongObjectType for another kind of object, or kInternal when it does not unseal.
Result OpenKey(HsmContext &hsm, std::string_view owner, std::string_view name, StoredObject *object,
               SecretBytes *material);
// The same in the caller's partition.
Result OpenKey(Call &call, const std::string &name, StoredObject *object, SecretBytes *material);

// kOk for a key that may be used now: kKeyBlocked when blocked, and kBadAlgorithm when
// `desFamily` asks for a DES-family key and it is another.
Result CheckUsable(const StoredObject &key, bool desFamily);

// OpenKey for a key that passes CheckUsable.
Result OpenUsableKey(HsmContext &hsm, std::string_view owner, std::string_view name, bool desFamily,
                     StoredObject *object, SecretBytes *material);

// The CVV of a card (see ComputeCvv for the card data) under `material`, a key of
// `algorithm`: kBadAlgorithm unless it is a double-length DES key.
Result CvvOfKey(uint32_t algorithm, std::string_view material, std::string_view pan,
                std::string_view expirationDate, std::string_view serviceCode, std::string *cvv);

// CvvOfKey with the usable key `keyName` of `owner`'s partition.
Result PartitionCvv(HsmContext &hsm, std::string_view owner, std::string_view keyName,
                    std::string_view pan, std::string_view expirationDate,
                    std::string_view serviceCode, std::string *cvv);

// An event text naming the algorithm of a key.
std::string AlgorithmNote(const char *what, const KeyAlgorithm &algorithm);

}  // namespace sim
