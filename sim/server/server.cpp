#include "server/server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

namespace sim {

namespace {

constexpr int kListenBacklog = 512;
// How long the acceptor rests once the descriptors ran out, and how often the watchdog
// looks at the connections' deadlines.
constexpr int kOutOfDescriptorsPauseMs = 50;
constexpr int kWatchdogPeriodMs = 200;
// Descriptors no client may take: the database's files, the pipes of the network tools, the
// node links and, in a sanitizer build, the runtime's own checks each need one at times, and
// fail in odd ways when the clients took them all.
constexpr rlim_t kReservedDescriptors = 16;

bool SessionEnded(const ConnectionWatch &watch) {
    const std::shared_ptr<const Session> session = watch.session;
    return session != nullptr && session->ended;
}

[[noreturn]] void ThrowErrno(const char *what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// True when the descriptor `fd`, just accepted, leaves fewer than kReservedDescriptors free.
// Descriptors are handed out lowest first, so every one below `fd` is in use.
bool EatsIntoReserve(int fd) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return false;
    return static_cast<rlim_t>(fd) + kReservedDescriptors >= limit.rlim_cur;
}

int OpenReserveDescriptor() {
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

}  // namespace

Server::Server(HsmContext &hsm, ServeFunction serve, const std::string &host, uint16_t port,
               const ConnectionLimits &limits)
    : hsm_(hsm), serve_(std::move(serve)), limits_(limits) {
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
    reserveFd_ = OpenReserveDescriptor();
}

Server::~Server() {
    Stop();
    ::close(listenFd_);
    if (reserveFd_ >= 0) ::close(reserveFd_);
}

void Server::Start() {
    acceptThread_ = std::thread([this] { AcceptLoop(); });
    watchdogThread_ = std::thread([this] { Watchdog(); });
}

void Server::AcceptLoop() {
    while (stop_.WaitReadable(listenFd_)) {
        sockaddr_in peer{};
        socklen_t peerLength = sizeof peer;
        int fd =
            ::accept4(listenFd_, reinterpret_cast<sockaddr *>(&peer), &peerLength, SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EMFILE || errno == ENFILE) {
                RefuseWithReserveDescriptor();
                if (stop_.WaitSet(kOutOfDescriptorsPauseMs)) return;
            }
            continue;
        }
        if (EatsIntoReserve(fd)) {
            ::close(fd);
            continue;
        }
        std::lock_guard lock(mutex_);
        if (stopped_) {
            ::close(fd);
            return;
        }
        if (!AdmitLocked(peer.sin_addr.s_addr)) {
            ::close(fd);
            continue;
        }
        Connection &conn = connections_.emplace_back();
        conn.fd = fd;
        conn.peer = peer.sin_addr.s_addr;
        conn.watch.deadline = DeadlineAfter(limits_.loginSeconds);
        conn.thread = std::thread([this, &conn] {
            if (FilterAdmits(conn.fd, conn.peer)) serve_(conn.fd, conn.watch);
            std::lock_guard done(mutex_);
            ::close(conn.fd);
            conn.fd = -1;
            conn.finished = true;
        });
    }
}

void Server::RefuseWithReserveDescriptor() {
    if (reserveFd_ < 0) return;
    ::close(reserveFd_);
    int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0) ::close(fd);
    reserveFd_ = OpenReserveDescriptor();
}

bool Server::AdmitLocked(in_addr_t peer) const {
    size_t pending = 0;
    size_t fromPeer = 0;
    for (const Connection &conn : connections_) {
        if (conn.finished) continue;
        if (conn.watch.session.load() == nullptr) ++pending;
        if (conn.peer == peer) ++fromPeer;
    }
    return (limits_.maxPendingLogins == 0 || pending < limits_.maxPendingLogins) &&
           (limits_.maxPerAddress == 0 || fromPeer < limits_.maxPerAddress);
}

bool Server::FilterAdmits(int fd, in_addr_t peer) {
    char host[INET_ADDRSTRLEN] = {};
    in_addr address{peer};
    ::inet_ntop(AF_INET, &address, host, sizeof host);
    try {
        if (AdmitsHost(hsm_.ipFilter.Load(), host)) return true;
        // The client learns at once; the log line waits for its durable write.
        ::shutdown(fd, SHUT_RDWR);
        hsm_.ipFilter.RecordRefusedConnection(host);
    } catch (const std::exception &e) {
        // A filter that cannot be read admits nobody rather than everybody.
        hsm_.log.Write(std::string("IP filter check of a connection failed: ") + e.what());
    }
    return false;
}

void Server::Watchdog() {
    while (!stop_.WaitSet(kWatchdogPeriodMs)) {
        const int64_t now = SteadyNanos();
        std::lock_guard lock(mutex_);
        ReapFinishedLocked();
        const bool restored = hsm_.backups.RestartRequired();
        for (Connection &conn : connections_) {
            const int64_t deadline = conn.watch.deadline;
            if (conn.fd >= 0 && !conn.cutOff &&
                ((deadline != 0 && now > deadline) || (restored && SessionEnded(conn.watch)))) {
                ::shutdown(conn.fd, SHUT_RDWR);
                conn.cutOff = true;
            }
        }
    }
}

void Server::ReapFinishedLocked() {
    for (auto it = connections_.begin(); it != connections_.end();) {
        if (!it->finished) {
            ++it;
            continue;
        }
        it->thread.join();
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
    if (watchdogThread_.joinable()) watchdogThread_.join();
    std::list<Connection> remaining;
    {
        std::lock_guard lock(mutex_);
        for (Connection &conn : connections_)
            if (conn.fd >= 0) ::shutdown(conn.fd, SHUT_RDWR);
        remaining.splice(remaining.end(), connections_);
    }
    // The threads close their own descriptors, under the lock; the list they point into is
    // now `remaining`, whose nodes did not move.
    for (Connection &conn : remaining)
        conn.thread.join();
}

}  // namespace sim
