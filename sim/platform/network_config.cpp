#include "platform/network_config.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

#include <bit>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

namespace sim {

namespace {

constexpr const char *kSysNet = "/sys/class/net/";

// The first line of a /sys file, "" when it cannot be read.
std::string ReadSysLine(const std::string &path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

bool Exists(const std::string &path) {
    return std::ifstream(path).good();
}

std::string Dotted(in_addr_t networkOrder) {
    char text[INET_ADDRSTRLEN] = {};
    in_addr address{networkOrder};
    inet_ntop(AF_INET, &address, text, sizeof text);
    return text;
}

// /proc/net/route holds addresses as the hexadecimal of the 32-bit word in host order.
in_addr_t RouteWord(const std::string &hex) {
    return static_cast<in_addr_t>(std::stoul(hex, nullptr, 16));
}

NetworkInterface Describe(const std::string &name) {
    NetworkInterface entry;
    entry.name = name;
    // "up" is the link as the kernel sees it; "unknown" comes from drivers that do not track
    // carrier, which the carrier file then answers.
    const std::string state = ReadSysLine(kSysNet + name + "/operstate");
    entry.linkUp =
        state == "up" || (state == "unknown" && ReadSysLine(kSysNet + name + "/carrier") == "1");
    const std::string speed = ReadSysLine(kSysNet + name + "/speed");
    if (!speed.empty() && speed[0] != '-')
        entry.speedMbps = static_cast<uint32_t>(std::stoul(speed));
    entry.bondMember = Exists(kSysNet + name + "/bonding_slave/state");
    return entry;
}

void ReadBond(NetworkConfig *config) {
    std::istringstream masters(ReadSysLine(std::string(kSysNet) + "bonding_masters"));
    if (!(masters >> config->bond)) return;
    // "active-backup 1": the mode's name, then its number.
    std::istringstream mode(ReadSysLine(kSysNet + config->bond + "/bonding/mode"));
    mode >> config->bondMode;
}

}  // namespace

void ParseRouteTable(const std::string &table, NetworkConfig *config) {
    config->gateway.clear();
    config->gatewayMask = "255.255.255.255";
    std::istringstream lines(table);
    std::string line;
    std::getline(lines, line);  // the header
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string name, destination, gateway, flags, refCount, use, metric, mask;
        if (!(fields >> name >> destination >> gateway >> flags >> refCount >> use >> metric >>
              mask))
            continue;
        const in_addr_t net = RouteWord(destination), via = RouteWord(gateway),
                        netmask = RouteWord(mask);
        if (net == 0 && netmask == 0) {
            if (config->gateway.empty()) {
                config->gateway = Dotted(via);
                config->gatewayMask = Dotted(netmask);
            }
            continue;
        }
        std::string route = Dotted(net) + "/" + std::to_string(std::popcount(netmask));
        if (via != 0) route += " via " + Dotted(via);
        config->routes.push_back(route + " dev " + name);
    }
}

NetworkConfig ReadNetworkConfig() {
    NetworkConfig config;
    ifaddrs *list = nullptr;
    if (::getifaddrs(&list) == 0) {
        std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owned(list, &freeifaddrs);
        for (const ifaddrs *entry = list; entry != nullptr; entry = entry->ifa_next) {
            if ((entry->ifa_flags & IFF_LOOPBACK) != 0) continue;
            NetworkInterface described = Describe(entry->ifa_name);
            // A bond member has no address; it is listed once, from its link entry.
            if (described.bondMember) {
                if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_PACKET) continue;
                config.interfaces.push_back(described);
                continue;
            }
            if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
            described.address =
                Dotted(reinterpret_cast<const sockaddr_in *>(entry->ifa_addr)->sin_addr.s_addr);
            if (entry->ifa_netmask != nullptr)
                described.mask = Dotted(
                    reinterpret_cast<const sockaddr_in *>(entry->ifa_netmask)->sin_addr.s_addr);
            config.interfaces.push_back(described);
        }
    }
    std::ifstream routes("/proc/net/route");
    ParseRouteTable(
        std::string(std::istreambuf_iterator<char>(routes), std::istreambuf_iterator<char>()),
        &config);
    ReadBond(&config);
    return config;
}

}  // namespace sim
