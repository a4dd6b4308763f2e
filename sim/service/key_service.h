#pragma once
// Keys of the caller's partition: generation, clear import (certificates too), component
// import, check values and blocking. Every handler acts only inside the session user's own
// partition.

#include "service/dispatch_table.h"

namespace sim {

void RegisterKeyService(DispatchTable &table);

}  // namespace sim
