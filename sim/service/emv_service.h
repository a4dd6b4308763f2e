#pragma once
// EMV issuer public key certification requests from the RSA keys of the caller's partition.
// Each request is logged, refusals included.

#include "service/dispatch_table.h"

namespace sim {

void RegisterEmvService(DispatchTable &table);

}  // namespace sim
