#pragma once
// Export of an object of the caller's partition: the clear bytes of an exportable, unblocked
// symmetric key, or a certificate as DER. kWrongObjectType for a pairing of object and blob
// type other than these two.

#include "service/dispatch_table.h"

namespace sim {

void RegisterKeyExportService(DispatchTable &table);

}  // namespace sim
