#pragma once
// Random bytes and the session's hash contexts.

#include "service/dispatch_table.h"

namespace sim {

inline constexpr uint32_t kMaxRandomBytes = 1u << 20;

void RegisterRandomHashService(DispatchTable &table);

}  // namespace sim
