#include "server/discovery.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace sim {

namespace {
constexpr size_t kMaxDatagram = 1024;
}  // namespace

DiscoveryResponder::DiscoveryResponder(uint16_t port, wire::pb::DiscoveryReply reply) {
    reply.set_magic(kDiscoveryMagic);
    reply.SerializeToString(&reply_);
    fd_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0) throw std::system_error(errno, std::generic_category(), "discovery socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(fd_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::getsockname(fd_, reinterpret_cast<sockaddr *>(&address), &length) != 0) {
        int saved = errno;
        ::close(fd_);
        throw std::system_error(saved, std::generic_category(),
                                "discovery port " + std::to_string(port));
    }
    port_ = ntohs(address.sin_port);
}

DiscoveryResponder::~DiscoveryResponder() {
    Stop();
    ::close(fd_);
}

void DiscoveryResponder::Start() {
    thread_ = std::thread([this] { Loop(); });
}

void DiscoveryResponder::Stop() {
    stop_.Set();
    if (thread_.joinable()) thread_.join();
}

void DiscoveryResponder::Loop() {
    char buffer[kMaxDatagram];
    while (stop_.WaitReadable(fd_)) {
        sockaddr_in from{};
        socklen_t fromLength = sizeof from;
        ssize_t got = ::recvfrom(fd_, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr *>(&from),
                                 &fromLength);
        if (got < 0) continue;
        wire::pb::DiscoveryProbe probe;
        if (!probe.ParseFromArray(buffer, static_cast<int>(got)) ||
            probe.magic() != kDiscoveryMagic)
            continue;
        ::sendto(fd_, reply_.data(), reply_.size(), 0, reinterpret_cast<sockaddr *>(&from),
                 fromLength);
    }
}

}  // namespace sim
