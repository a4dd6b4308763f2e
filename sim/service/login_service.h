#pragma once
// Login and logout: the only requests a connection may send before it has a session.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

// Methods of the Login message.
inline constexpr uint32_t kLoginAnonymous = 1;
inline constexpr uint32_t kLoginPassword = 16;
inline constexpr uint32_t kLoginAccessToken = 32;

// Authenticates and, on success (or an expired password), opens the connection's session
// and fills response->login. REQUIRES: conn.session is null.
Result HandleLogin(HsmContext &hsm, ConnectionState &conn, const wire::pb::Login &login,
                   wire::pb::Response *response);

Result HandleLogout(HsmContext &hsm, ConnectionState &conn);

}  // namespace sim
