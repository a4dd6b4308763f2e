#pragma once
// Opening TCP connections to an HSM.

#include <cstdint>

namespace qelvoarc {

struct TcpOptions {
    int connectTimeoutMs = 30000;
    int receiveTimeoutMs = 120000;  // a silent HSM gives ERR_TIMEOUT instead of a hang
    bool keepAlive = false;
};

// Connects to address:port (numeric or host name), with TCP_NODELAY. On OK, *fd is the
// connected socket, owned by the caller. Returns ERR_CONNECT when no address accepts within
// the timeout, ERR_INVALID_PARAMETER for an address that does not resolve.
[[nodiscard]] uint32_t ConnectTcp(const char *address, uint32_t port, const TcpOptions &options,
                                  int *fd);

}  // namespace qelvoarc
