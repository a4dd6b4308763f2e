// Finding HSMs on the local network by a UDP probe.

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "abi_guard.h"
#include "discovery.pb.h"
#include "library_memory.h"
#include "qelvoarc.h"

namespace qelvoarc {
namespace {

constexpr uint32_t kDiscoveryMagic = 0x4F52564E;  // "ORVN"
constexpr uint16_t kDefaultDiscoveryPort = 4433;
constexpr int kDefaultWaitMs = 300;
constexpr int kMaxWaitMs = 10000;

uint16_t DiscoveryPort() {
    const char *text = std::getenv("QELVOARC_DISCOVERY_PORT");
    if (text == nullptr) return kDefaultDiscoveryPort;
    char *end = nullptr;
    long port = std::strtol(text, &end, 10);
    return (end != text && *end == '\0' && port > 0 && port <= 65535) ? static_cast<uint16_t>(port)
                                                                      : kDefaultDiscoveryPort;
}

// Loopback, the limited broadcast and every interface's own broadcast address.
std::vector<in_addr> ProbeTargets() {
    std::vector<in_addr> targets;
    targets.push_back(in_addr{htonl(INADDR_LOOPBACK)});
    targets.push_back(in_addr{htonl(INADDR_BROADCAST)});
    ifaddrs *interfaces = nullptr;
    if (::getifaddrs(&interfaces) != 0) return targets;
    for (ifaddrs *entry = interfaces; entry != nullptr; entry = entry->ifa_next) {
        if ((entry->ifa_flags & IFF_BROADCAST) == 0 || entry->ifa_broadaddr == nullptr ||
            entry->ifa_broadaddr->sa_family != AF_INET)
            continue;
        targets.push_back(reinterpret_cast<sockaddr_in *>(entry->ifa_broadaddr)->sin_addr);
    }
    ::freeifaddrs(interfaces);
    return targets;
}

void AddEntry(const wire::pb::DiscoveryReply &reply, std::vector<QHsmDiscoveryEntry> *found) {
    QHsmDiscoveryEntry entry{};
    entry.port = reply.port();
    std::strncpy(entry.address, reply.address().c_str(), sizeof entry.address - 1);
    std::strncpy(entry.model, reply.model().c_str(), sizeof entry.model - 1);
    std::strncpy(entry.serial, reply.serial().c_str(), sizeof entry.serial - 1);
    for (const QHsmDiscoveryEntry &known : *found)
        if (known.port == entry.port && std::strcmp(known.address, entry.address) == 0 &&
            std::strcmp(known.serial, entry.serial) == 0)
            return;
    found->push_back(entry);
}

[[nodiscard]] uint32_t FindHsm(uint32_t searchType, uint32_t waitMs, QHsmDiscoveryEntry **list,
                               uint32_t *count) {
    if (searchType != Q_FIND_HSM_UDP || list == nullptr || count == nullptr)
        return wire::ERR_INVALID_PARAMETER;
    int wait = waitMs == Q_FIND_HSM_DEFAULT_WAIT
                   ? kDefaultWaitMs
                   : static_cast<int>(std::min<uint32_t>(waitMs, kMaxWaitMs));
    int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return wire::ERR_CONNECT;
    int one = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_BROADCAST, &one, sizeof one);
    wire::pb::DiscoveryProbe probe;
    probe.set_magic(kDiscoveryMagic);
    std::string datagram = probe.SerializeAsString();
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(DiscoveryPort());
    // A target that cannot be reached (no broadcast route) is simply not asked.
    for (const in_addr &address : ProbeTargets()) {
        target.sin_addr = address;
        ::sendto(fd, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr *>(&target),
                 sizeof target);
    }
    std::vector<QHsmDiscoveryEntry> found;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(wait);
    char buffer[1024];
    for (;;) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                        deadline - std::chrono::steady_clock::now())
                        .count();
        if (left <= 0) break;
        pollfd entry{fd, POLLIN, 0};
        if (::poll(&entry, 1, static_cast<int>(left)) <= 0) continue;
        ssize_t got = ::recv(fd, buffer, sizeof buffer, 0);
        wire::pb::DiscoveryReply reply;
        if (got > 0 && reply.ParseFromArray(buffer, static_cast<int>(got)) &&
            reply.magic() == kDiscoveryMagic)
            AddEntry(reply, &found);
    }
    ::close(fd);
    void *copy = nullptr;
    if (!found.empty()) {
        copy = CopyToLibraryMemory(found.data(), found.size() * sizeof found[0]);
        if (copy == nullptr) return wire::ERR_NO_MEMORY;
    }
    *list = static_cast<QHsmDiscoveryEntry *>(copy);
    *count = static_cast<uint32_t>(found.size());
    return wire::OK;
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QFindHSM(uint32_t searchType, uint32_t waitMs, QHsmDiscoveryEntry **list, uint32_t *count,
                  uint32_t) {
    return qelvoarc::Guarded([&] { return qelvoarc::FindHsm(searchType, waitMs, list, count); });
}

}  // extern "C"
