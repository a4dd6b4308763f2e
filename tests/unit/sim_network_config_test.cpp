// The routes and default gateway read from the kernel's route table.
#include <gtest/gtest.h>

#include "platform/network_config.h"

namespace {

constexpr const char *kHeader =
    "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";

TEST(SimNetworkConfig, TheDefaultRouteIsTheGatewayAndTheOthersAreRoutes) {
    sim::NetworkConfig config;
    sim::ParseRouteTable(std::string(kHeader) +
                             "eth0\t00000000\t010200C0\t0003\t0\t0\t0\t00000000\t0\t0\t0\n"
                             "eth0\t000200C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"
                             "eth1\t0000000A\tFE0200C0\t0003\t0\t0\t0\t000000FF\t0\t0\t0\n"
                             "eth0\t00000000\t020200C0\t0003\t0\t0\t9\t00000000\t0\t0\t0\n",
                         &config);
    EXPECT_EQ(config.gateway, "192.0.2.1");  // the first default route wins
    EXPECT_EQ(config.gatewayMask, "0.0.0.0");
    EXPECT_EQ(config.routes, (std::vector<std::string>{"192.0.2.0/24 dev eth0",
                                                       "10.0.0.0/8 via 192.0.2.254 dev eth1"}));
}

TEST(SimNetworkConfig, WithoutADefaultRouteTheGatewayMaskIsAllOnes) {
    sim::NetworkConfig config;
    sim::ParseRouteTable(std::string(kHeader) +
                             "eth0\t000200C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"
                             "short line\n",
                         &config);
    EXPECT_EQ(config.gateway, "");
    EXPECT_EQ(config.gatewayMask, "255.255.255.255");
    EXPECT_EQ(config.routes, (std::vector<std::string>{"192.0.2.0/24 dev eth0"}));
}

}  // namespace
