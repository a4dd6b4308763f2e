#pragma once
// Reading users' rights and changing user parameters.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

inline constexpr uint32_t kUserParamOwnPassword = 16;

// REQUIRES (both): conn.session is set.
Result HandleGetUserAcl(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::GetUserAcl &request, wire::pb::Response *response);
Result HandleSetUserParam(HsmContext &hsm, ConnectionState &conn,
                          const wire::pb::SetUserParam &request);

}  // namespace sim
