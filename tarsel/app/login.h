#pragma once
// The connection and login dialogue: from the command line to one open session.

#include <cstdint>

#include "qelvoarc.h"

// Session flag bits the interactive console always adds to TLS or clear text.
inline constexpr uint32_t kInteractiveSessionFlags = Q_SESSION_KEEPALIVE | Q_SESSION_RESERVED_20;

// Parses the command line into gState, asks for what it did not give, initialises the
// library and opens the session. On 0, *session is open, or with -g the certificate has
// been exported and no session was opened. Otherwise returns 1 for a cancelled prompt,
// uint32_t(-1) after usage, or the library's code; the library is then finalised except
// after usage, a cancelled prompt or on the certificate path. On success gState holds the
// salted verifier of the password (not with an access token). Every copy of the password,
// OTP, key password and token is wiped on every path.
uint32_t ConnectAndLogin(QSessionHandle *session, int argc, const char *const *argv);
