// The version text the console parses, and the daemon's command line.

#include <gtest/gtest.h>

#include "daemon/daemon_options.h"
#include "policy/device_identity.h"

namespace {

TEST(SimDeviceIdentity, VersionTextCarriesTheFirmwareWhereTheConsoleLooks) {
    sim::DeviceIdentity identity{"5.0.34.99", "ORV-7", "SN42", 0};
    EXPECT_EQ(sim::VersionText(identity),
              "Orvena ORV-7 Core Crypto Engine 5.0.34.99-orvena-sim|ORV-7 Serial:SN42 (simulated)");
}

TEST(SimDeviceIdentity, FirmwareVersionsHaveFourDecimalParts) {
    EXPECT_TRUE(sim::IsFirmwareVersion("5.1.0.0"));
    EXPECT_TRUE(sim::IsFirmwareVersion("4.14.100.999"));
    EXPECT_FALSE(sim::IsFirmwareVersion("5.1.0"));
    EXPECT_FALSE(sim::IsFirmwareVersion("5.1.0.0.1"));
    EXPECT_FALSE(sim::IsFirmwareVersion("5..0.0"));
    EXPECT_FALSE(sim::IsFirmwareVersion("5.1.0.0a"));
    EXPECT_FALSE(sim::IsFirmwareVersion("5.1.0.1000"));
}

sim::ParseOutcome Parse(std::vector<std::string> args, sim::DaemonOptions *options) {
    std::string error;
    sim::ParseOutcome outcome = sim::ParseDaemonOptions(args, options, &error);
    EXPECT_EQ(outcome == sim::ParseOutcome::kError, !error.empty());
    return outcome;
}

TEST(SimDaemonOptions, ParsesEveryOptionAndRefusesBadValues) {
    sim::DaemonOptions options;
    ASSERT_EQ(Parse({"--data",           "/d",        "--listen",        "127.0.0.1:0",
                     "--firmware",       "5.0.34.99", "--model",         "M1",
                     "--serial",         "S1",        "--hsm-mode",      "2",
                     "--discovery-port", "0",         "--max-sessions",  "7",
                     "--idle-timeout",   "0",         "--init-password", "pw"},
                    &options),
              sim::ParseOutcome::kRun);
    EXPECT_EQ(options.port, 0);
    EXPECT_EQ(options.identity.firmware, "5.0.34.99");
    EXPECT_EQ(options.identity.hsmMode, 2u);
    EXPECT_EQ(options.discoveryPort, 0);
    EXPECT_EQ(options.maxSessions, 7u);
    EXPECT_EQ(options.limits.idleTimeoutSeconds, 0);
    EXPECT_EQ(options.initPassword, "pw");

    for (std::vector<std::string> bad : {
             std::vector<std::string>{"--listen", "127.0.0.1:1"},  // no --data
             {"--data", "/d", "--listen", "127.0.0.1:70000"},
             {"--data", "/d", "--listen", "4433"},
             {"--data", "/d", "--firmware", "5.1"},
             {"--data", "/d", "--model", "two words"},
             {"--data", "/d", "--max-sessions", "0"},
             {"--data", "/d", "--idle-timeout", "-1"},
             {"--data", "/d", "--init-password", "seventeen-chars!!"},
             {"--data", "/d", "--verbose", "1"},
             {"--data"},
         }) {
        sim::DaemonOptions ignored;
        EXPECT_EQ(Parse(bad, &ignored), sim::ParseOutcome::kError) << bad.back();
    }
    sim::DaemonOptions help;
    EXPECT_EQ(Parse({"--help"}, &help), sim::ParseOutcome::kHelp);
}

}  // namespace
