#pragma once
// Random bytes and the session's hash contexts.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

inline constexpr uint32_t kMaxRandomBytes = 1u << 20;

// REQUIRES (all): conn.session is set.
Result HandleGetRandom(const wire::pb::GetRandom &request, wire::pb::Response *response);
Result HandleHashCreate(HsmContext &hsm, ConnectionState &conn, const wire::pb::HashCreate &request,
                        wire::pb::Response *response);
Result HandleHashData(ConnectionState &conn, const wire::pb::HashData &request);
Result HandleHashGetParam(ConnectionState &conn, const wire::pb::HashGetParam &request,
                          wire::pb::Response *response);
Result HandleHashSetParam(ConnectionState &conn, const wire::pb::HashSetParam &request);
Result HandleHashDestroy(ConnectionState &conn, const wire::pb::HashDestroy &request);

}  // namespace sim
