#include "server/server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>

#include "server/connection.h"

namespace sim {

namespace {

constexpr int kListenBacklog = 512;

[[noreturn]] void ThrowErrno(const char *what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

Server::Server(HsmContext &hsm, const TlsServerContext &tls, const std::string &host, uint16_t port,
               int idleTimeoutSeconds)
    : hsm_(hsm), tls_(tls), idleTimeoutSeconds_(idleTimeoutSeconds) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1)
        throw std::system_error(EINVAL, std::generic_category(), "listen address " + host);
    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listenFd_ < 0) ThrowErrno("socket");
    int one = 1;
    ::setsockopt(listenFd_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    socklen_t length = sizeof address;
    if (::bind(listenFd_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listenFd_, kListenBacklog) != 0 ||
        ::getsockname(listenFd_, reinterpret_cast<sockaddr *>(&address), &length) != 0) {
        int saved = errno;
        ::close(listenFd_);
        throw std::system_error(saved, std::generic_category(), "listen on " + host);
    }
    port_ = ntohs(address.sin_port);
}

Server::~Server() {
    Stop();
    ::close(listenFd_);
}

void Server::Start() {
    acceptThread_ = std::thread([this] { AcceptLoop(); });
}

void Server::AcceptLoop() {
    while (stop_.WaitReadable(listenFd_)) {
        int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            // Out of descriptors: the pending connection stays readable, so give
            // finishing sessions a moment instead of spinning on it.
            if (errno == EMFILE || errno == ENFILE)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            continue;
        }
        std::lock_guard lock(mutex_);
        ReapFinishedLocked();
        if (stopped_) {
            ::close(fd);
            return;
        }
        Connection &conn = connections_.emplace_back();
        conn.fd = fd;
        conn.thread = std::thread([this, &conn] {
            ServeConnection(hsm_, tls_.get(), conn.fd, idleTimeoutSeconds_);
            // The peer learns of the end now; the descriptor is closed when reaped.
            ::shutdown(conn.fd, SHUT_RDWR);
            std::lock_guard done(mutex_);
            conn.finished = true;
        });
    }
}

void Server::ReapFinishedLocked() {
    for (auto it = connections_.begin(); it != connections_.end();) {
        if (!it->finished) {
            ++it;
            continue;
        }
        it->thread.join();
        ::close(it->fd);
        it = connections_.erase(it);
    }
}

void Server::Stop() {
    {
        std::lock_guard lock(mutex_);
        if (stopped_) return;
        stopped_ = true;
    }
    stop_.Set();
    if (acceptThread_.joinable()) acceptThread_.join();
    std::list<Connection> remaining;
    {
        std::lock_guard lock(mutex_);
        for (Connection &conn : connections_)
            ::shutdown(conn.fd, SHUT_RDWR);
        remaining.splice(remaining.end(), connections_);
    }
    for (Connection &conn : remaining) {
        conn.thread.join();
        ::close(conn.fd);
    }
}

}  // namespace sim
