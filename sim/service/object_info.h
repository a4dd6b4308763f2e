#pragma once
// How stored objects travel to the device library, and the partition rules they share.

#include <cstdint>
#include <string>
#include <string_view>

#include "core/secret.h"
#include "crypto/master_key.h"
#include "envelope.pb.h"
#include "store/key_store.h"

namespace sim {

// Fills the description a key handle carries (never the material), without its PKCS#11 map.
void FillObjectInfo(const StoredObject &object, wire::pb::ObjectInfo *info);

// FillObjectInfo, with the PKCS#11 map of keys and certificates looked up in `keys`.
void DescribeObject(KeyStore &keys, const StoredObject &object, wire::pb::ObjectInfo *info);

// Whether PKCS#11 maps may point at objects of this kind (as target or certificate).
bool IsMappable(ObjectKind kind);

// The associated data that binds sealed material to its partition and name.
std::string SealingContext(std::string_view owner, std::string_view name);

// The clear material of a key found with its secret. kInternal when it does not open.
Result UnsealMaterial(const MasterKey &masterKey, const StoredObject &key, SecretBytes *material);

// kOk when `name` can name an object of a partition.
Result CheckObjectName(std::string_view name);

// The object a key handle stands for: `name` of `owner`'s partition and, when objectId is not
// 0, the very object the handle was opened on (one re-created under the name is not it).
Result FindHandleObject(KeyStore &keys, std::string_view owner, std::string_view name,
                        uint64_t objectId, bool withSecret, StoredObject *object);

}  // namespace sim
