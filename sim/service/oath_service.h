#pragma once
// OATH second factors: assigning and removing a user's token, resynchronising it and
// checking an OTP outside a login. Assigning replaces any token the user had and turns the
// OATH second factor on; unassigning turns it off. A check consumes the OTP like a login
// does, so it cannot be replayed afterwards.

#include "service/dispatch_table.h"

namespace sim {

inline constexpr size_t kMaxOathSeedBytes = 128;

void RegisterOathService(DispatchTable &table);

}  // namespace sim
