#pragma once
// How stored objects travel to the device library, and the partition rules they share.

#include <string>
#include <string_view>

#include "orvena.pb.h"
#include "store/key_store.h"

namespace sim {

// Fills the description a key handle carries (never the material).
void FillObjectInfo(const StoredObject &object, wire::pb::ObjectInfo *info);

// The associated data that binds sealed material to its partition and name.
std::string SealingContext(std::string_view owner, std::string_view name);

// kOk when `name` can name an object of a partition.
Result CheckObjectName(std::string_view name);

}  // namespace sim
