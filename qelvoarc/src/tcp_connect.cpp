#include "tcp_connect.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "status.h"

namespace qelvoarc {

namespace {

bool WaitConnected(int fd, int timeoutMs) {
    pollfd entry{fd, POLLOUT, 0};
    int ready;
    do {
        ready = ::poll(&entry, 1, timeoutMs);
    } while (ready < 0 && errno == EINTR);
    if (ready <= 0) return false;
    int error = 0;
    socklen_t length = sizeof error;
    return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0;
}

// Connects one resolved address without blocking longer than the timeout; -1 on failure.
int ConnectOne(const addrinfo &candidate, const TcpOptions &options) {
    int fd = ::socket(candidate.ai_family, candidate.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK,
                      candidate.ai_protocol);
    if (fd < 0) return -1;
    bool connected = ::connect(fd, candidate.ai_addr, candidate.ai_addrlen) == 0 ||
                     (errno == EINPROGRESS && WaitConnected(fd, options.connectTimeoutMs));
    if (!connected || ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0) {
        ::close(fd);
        return -1;
    }
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    if (options.keepAlive) ::setsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &one, sizeof one);
    timeval timeout{options.receiveTimeoutMs / 1000, (options.receiveTimeoutMs % 1000) * 1000};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    return fd;
}

}  // namespace

uint32_t ConnectTcp(const char *address, uint32_t port, const TcpOptions &options, int *fd) {
    if (address == nullptr || address[0] == '\0' || port == 0 || port > 65535)
        return wire::ERR_INVALID_PARAMETER;
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo *found = nullptr;
    std::string service = std::to_string(port);
    if (::getaddrinfo(address, service.c_str(), &hints, &found) != 0)
        return wire::ERR_INVALID_PARAMETER;
    int connected = -1;
    for (addrinfo *candidate = found; candidate != nullptr && connected < 0;
         candidate = candidate->ai_next)
        connected = ConnectOne(*candidate, options);
    ::freeaddrinfo(found);
    if (connected < 0) return wire::ERR_CONNECT;
    *fd = connected;
    return wire::OK;
}

}  // namespace qelvoarc
