// What the HSM accepts as the target of ping and trace-route: nothing that a shell or the
// tool itself could read as more than one host.
#include <gtest/gtest.h>

#include <string>

#include "platform/network_tool.h"

namespace {

TEST(SimNetworkTool, TargetsAreHostNamesOrAddressesOnly) {
    for (const char *target :
         {"127.0.0.1", "::1", "fe80::1", "localhost", "hsm-2.example.org", "example.org.", "a"})
        EXPECT_TRUE(sim::IsNetworkToolTarget(target)) << target;
    for (const std::string &target :
         {std::string(";reboot"), std::string("127.0.0.1;reboot"), std::string("-f"),
          std::string("-c1000 localhost"), std::string("host -x"), std::string("$(id)"),
          std::string("a..b"), std::string("-a.b"), std::string("a-.b"), std::string(""),
          std::string("a\nb"), std::string("a\0b", 3), std::string(64, 'a'),
          std::string(63, 'a') + "." + std::string(63, 'a') + "." + std::string(63, 'a') + "." +
              std::string(63, 'a')})
        EXPECT_FALSE(sim::IsNetworkToolTarget(target)) << target;
}

}  // namespace
