#pragma once
// The account behind a request's session, read fresh for every request so that a change of
// rights takes effect at once.

#include <optional>

#include "service/hsm_context.h"

namespace sim {

// The session user's record; nullopt for an anonymous session or a user removed meanwhile.
// REQUIRES: conn.session is set.
inline std::optional<UserRecord> FindCaller(HsmContext &hsm, const ConnectionState &conn) {
    if (conn.session->user.empty()) return std::nullopt;
    return hsm.users.FindUser(conn.session->user);
}

}  // namespace sim
