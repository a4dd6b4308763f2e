#pragma once
// The network configuration of the machine the simulator runs on: its IPv4 interfaces from
// getifaddrs and /sys/class/net, its routes from /proc/net/route. Read afresh on every call.

#include <cstdint>
#include <string>
#include <vector>

namespace sim {

struct NetworkInterface {
    std::string name;
    std::string address;  // dotted IPv4; "" for a bond member, which carries none of its own
    std::string mask;
    bool linkUp = false;
    uint32_t speedMbps = 0;  // 0 when the driver does not tell
    bool bondMember = false;
};

struct NetworkConfig {
    std::vector<NetworkInterface> interfaces;  // in the kernel's order, loopback left out
    std::string gateway;                       // of the default route; "" when none
    std::string gatewayMask;                   // "255.255.255.255" when there is no default route
    std::string bond;                          // the first bond interface, "" when none
    std::string bondMode;                      // e.g. "active-backup"
    std::vector<std::string> routes;           // "<net>/<prefix> [via <gw>] dev <name>"
};

NetworkConfig ReadNetworkConfig();

// The routes and default gateway of a /proc/net/route text; the rest of `config` is left
// alone.
void ParseRouteTable(const std::string &table, NetworkConfig *config);

}  // namespace sim
