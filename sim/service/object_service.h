#pragma once
// Objects of the caller's partition: opening by name, listing, removal, map objects,
// PKCS#11 maps and metadata. Every handler acts only inside the session user's partition.

#include "service/dispatch_table.h"

namespace sim {

void RegisterObjectService(DispatchTable &table);

}  // namespace sim
