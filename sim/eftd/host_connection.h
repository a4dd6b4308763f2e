#pragma once
// One host's connection to the EFT daemon's port: length-prefixed host commands, answered in
// order, until the host hangs up, idles out or breaks the framing.

#include "server/connection.h"
#include "service/hsm_context.h"

namespace sim {

// Longest host command read; a longer one is not read, and the connection is dropped.
inline constexpr size_t kMaxHostMessageBytes = 4096;

// Runs on the connection's own thread (a Server's ServeFunction). Does not close `fd`.
void ServeHostConnection(HsmContext &hsm, int fd, const ConnectionLimits &limits,
                         ConnectionWatch &watch);

}  // namespace sim
