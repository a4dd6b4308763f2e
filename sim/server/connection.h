#pragma once
// Serves one client connection until it closes, misbehaves, idles out or the server stops.

#include <openssl/ssl.h>

#include "envelope.pb.h"
#include "framing.h"
#include "service/hsm_context.h"

namespace sim {

// Runs on the connection's own thread with blocking I/O. Does not close `fd` (the server
// does, after the thread ended, so that a shutdown() from Stop never hits a reused fd).
// A first byte of 0x16 starts TLS; anything else is a clear-text session.
// `idleTimeoutSeconds` 0 waits forever for the next request.
void ServeConnection(HsmContext &hsm, SSL_CTX *tls, int fd, int idleTimeoutSeconds);

// Sends `response` as one frame, then wipes its secret fields and the serialised copy, which
// may carry a secret (a new access token, exported key material). True when it was sent.
bool SendResponse(wire::Stream &stream, wire::pb::Response &response);

}  // namespace sim
