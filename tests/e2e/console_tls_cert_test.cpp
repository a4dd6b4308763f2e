#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "console_e2e_support.h"

namespace {

// A simulator on 127.0.0.1:4433, or null when that port is taken on this machine (by a
// simulator someone runs by hand, or this same test of another build).
std::unique_ptr<SimProcess> SimulatorOnStandardPort() {
    ::testing::TestPartResultArray failures;
    std::unique_ptr<SimProcess> sim;
    {
        ::testing::ScopedFakeTestPartResultReporter intercept(
            ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
        sim = std::make_unique<SimProcess>(
            SimProcess::Options{.extraArgs = {"--listen", "127.0.0.1:4433"}});
    }
    if (failures.size() != 0 || sim->port() != 4433) return nullptr;
    return sim;
}

// -g always fetches from port 4433, so the simulator of this test must listen there, and
// -p points somewhere else on purpose.
TEST(ConsoleTlsCertificate, ExportComesFromPort4433WhateverDashPSays) {
    const std::unique_ptr<SimProcess> sim = SimulatorOnStandardPort();
    if (sim == nullptr) GTEST_SKIP() << "127.0.0.1:4433 is in use on this machine";
    ScratchDir dir;
    const std::string out = dir.Path("hsm.pem");

    PtyDriver console(TARSEL_PATH, {"127.0.0.1", "-g", out, "-p", "1234"});
    console.Expect("\nCertificate exported successfully.\n\n");
    EXPECT_EQ(console.WaitExit(), 0);
    EXPECT_EQ(console.Output().find("HSM User Password"), std::string::npos);
    EXPECT_EQ(console.Output().find("Main Menu"), std::string::npos);
    const std::string pem = ReadFileBytes(out);
    EXPECT_EQ(pem.rfind("-----BEGIN CERTIFICATE-----", 0), 0u) << pem;
    EXPECT_EQ(pem, ReadFileBytes(sim->dataDir() + "/tls.crt"));
}

TEST(ConsoleTlsCertificate, UnreachableHsmReportsTheExportError) {
    ScratchDir dir;
    const std::string out = dir.Path("hsm.pem");
    PtyDriver console(TARSEL_PATH, {"no.such.host.invalid", "-g", out});
    console.Expect("\nError exporting certificate. ");
    EXPECT_NE(console.WaitExit(), 0);
    EXPECT_TRUE(ReadFileBytes(out).empty());
}

}  // namespace
