#pragma once
// OATH second factors: assigning and removing a user's token, resynchronising it and
// checking an OTP outside a login.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

inline constexpr uint32_t kTokenOathEvent = 2;
inline constexpr uint32_t kTokenOathTime = 3;
inline constexpr size_t kMaxOathSeedBytes = 128;

// REQUIRES (all): conn.session is set. Assigning replaces any token the user had and turns
// the OATH second factor on; unassigning turns it off.
Result HandleAssignOathToken(HsmContext &hsm, const ConnectionState &conn,
                             const wire::pb::AssignOathToken &request);
Result HandleUnassignOathToken(HsmContext &hsm, const ConnectionState &conn,
                               const wire::pb::UnassignOathToken &request);
Result HandleOathResync(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::OathResync &request);
// Consumes the OTP like a login does, so it cannot be replayed afterwards.
Result HandleOathCheck(HsmContext &hsm, const ConnectionState &conn,
                       const wire::pb::OathCheck &request);

}  // namespace sim
