#pragma once
// What a PKCS#11 client sees through a map of the caller's partition: the attributes are
// derived from the map's target when they are read, so they follow the target. kNotFound
// when the map or its target is missing, kWrongObjectType when the name is not a PKCS#11 map.

#include "service/dispatch_table.h"

namespace sim {

void RegisterPkcs11MapDetails(DispatchTable &table);

}  // namespace sim
