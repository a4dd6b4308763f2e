#pragma once
// Serves one client connection until it closes, misbehaves, idles out or the server stops.

#include <openssl/ssl.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "envelope.pb.h"
#include "framing.h"
#include "service/hsm_context.h"

namespace sim {

// What one client may take of the daemon. Zero turns a limit off.
struct ConnectionLimits {
    int idleTimeoutSeconds = 1800;  // between requests of an open session
    // From accept to an open session, TLS handshake included: a client that trickles its
    // handshake or login byte by byte is cut off here.
    int loginSeconds = 20;
    int frameSeconds = 30;                  // from a frame's header to its last byte
    size_t maxPendingLogins = 512;          // connections without a session, over all clients
    size_t maxPerAddress = 512;             // connections from one client address
    uint32_t maxRequestsPerSecond = 20000;  // per session; the excess waits its turn
};

// Sends without delay, and ends a read that waited `idleTimeoutSeconds` (0 = forever).
void ConfigureSocket(int fd, int idleTimeoutSeconds);

// The steady clock in nanoseconds, the unit of ConnectionWatch deadlines.
int64_t SteadyNanos();
// The deadline `seconds` from now; 0 (none) when `seconds` is 0.
int64_t DeadlineAfter(int seconds);

// What a connection's thread tells the server while it runs.
struct ConnectionWatch {
    // Steady-clock nanoseconds by which the step under way must end, 0 when none: the server
    // shuts the socket down once it has passed.
    std::atomic<int64_t> deadline{0};
    // The connection's session while one is open, null before login and after logout. The
    // server counts connections without one, and after a restore ends every connection whose
    // session the restore ended instead of waiting for its next request. Written only by the
    // connection's own thread.
    std::atomic<std::shared_ptr<const Session>> session;
};

// Runs on the connection's own thread with blocking I/O. Does not close `fd` (the server
// does, under its lock, so that a shutdown() from another thread never hits a reused fd).
// A first byte of 0x16 starts TLS; anything else is a clear-text session.
void ServeConnection(HsmContext &hsm, SSL_CTX *tls, int fd, const ConnectionLimits &limits,
                     ConnectionWatch &watch);

// Sends `response` as one frame, then wipes its secret fields and the serialised copy, which
// may carry a secret (a new access token, exported key material). True when it was sent.
bool SendResponse(wire::Stream &stream, wire::pb::Response &response);

}  // namespace sim
