#pragma once
// Reading and changing the parameters of one account.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

// SetUserParam codes.
inline constexpr uint32_t kUserParamAcl = 2;
inline constexpr uint32_t kUserParamCertificate = 8;
inline constexpr uint32_t kUserParamOwnPassword = 16;
inline constexpr uint32_t kUserParamBlock = 64;
inline constexpr uint32_t kUserParamUnblock = 128;
inline constexpr uint32_t kUserParamPassword = 256;
// GetUserParam codes.
inline constexpr uint32_t kUserParamStatus = 64;
inline constexpr uint32_t kUserParamMofN = 512;
inline constexpr uint32_t kUserParamObjectCount = 1024;
// Operations of kUserParamCertificate.
inline constexpr uint32_t kCertificateAssign = 1;
inline constexpr uint32_t kCertificateReset = 2;

// REQUIRES (all): conn.session is set.
Result HandleGetUserAcl(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::GetUserAcl &request, wire::pb::Response *response);
// Status: value = blocked (0/1). M of N: value = state, flags = permission mask. Object
// counts: object_counts.
Result HandleGetUserParam(HsmContext &hsm, const ConnectionState &conn,
                          const wire::pb::GetUserParam &request, wire::pb::Response *response);
Result HandleSetUserParam(HsmContext &hsm, ConnectionState &conn,
                          const wire::pb::SetUserParam &request);

}  // namespace sim
