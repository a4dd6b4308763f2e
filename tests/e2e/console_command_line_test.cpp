// Runs of the console that open no session: help, usage errors and the export of the
// HSM's TLS certificate.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "console_e2e_support.h"

namespace {

const char kUsageText[] =
    "Usage: tarsel [<hsm_ip_address> <id_user> | --cm <hsm_ip_address/target>] [-e/-c] "
    "[-p <port>] [-o]\n"
    "<hsm_ip_address>       ip address of the HSM\n"
    "<id_user>              name of the user to open a session to the HSM\n"
    "-e                     open session encrypted (use TLS) - default option\n"
    "-c                     open session in clear text (do not use TLS)\n"
    "-p <port>              service port of the HSM to open a session - default 4433\n"
    "-o                     authentication with an OTP value (2nd factor)\n"
    "-3                     enable option to use exponent 3 for RSA keys\n"
    "-l                     enable legacy options\n"
    "-sip                   search for the nearby HSMs to connect\n"
    "-g <cert path>         get the HSM's TLS cert and write it to <cert_path>\n"
    "                         in PEM format\n"
    "-pri <key path>        private key used in mutual authentication, MUST be in\n"
    "                         PEM format. -pri_cert and -hsm_cert MUST be provided\n"
    "-pri_cer <cert path>   private key's certificate used in mutual\n"
    "                         authentication, in PEM/DER format. -pri and -hsm_cert\n"
    "                         MUST be provided\n"
    "-hsm_cer <hsm path>    HSM's certificate used in mutual authentication, in\n"
    "                         PEM/DER format. -pri and -pri_cert MUST be provided\n"
    "--cm <ip/target>       connect to the HSM using the Windows Credential Manager\n"
    "                         target name. Target name must be the address of the HSM\n"
    "-h                     display this help and exit\n"
    "Example:\n"
    "       tarsel 10.10.1.1 master -c\n"
    "       tarsel 10.10.1.1 master -e -p 4433\n"
    "       tarsel 10.10.1.1 master -o\n";

// Every refusal of the command line takes one path, whichever the parser's unit tests
// pin; an access token that does not decode takes it too.
TEST(ConsoleCommandLine, HelpAndUsageErrorsShowBannerLibraryVersionAndUsageAndEndWithMinusOne) {
    const std::vector<std::vector<std::string>> cases = {
        {"-h"},
        {"10.10.1.1", "master", "-pri", "k", "-pri_cer", "c"},  // no -hsm_cer
        {"10.10.1.1", "-a", "not*base64"},
    };
    for (const std::vector<std::string> &args : cases) {
        SCOPED_TRACE(::testing::PrintToString(args));
        PtyDriver console(TARSEL_PATH, args);
        console.Expect("Orvena - Remote Management Console v. 4.15.0.0 ");
        console.Expect("\n\nLibrary qelvoarc version  ");
        console.Expect(".\n");
        console.Expect(kUsageText);
        EXPECT_EQ(console.WaitExit(), 255);
        EXPECT_EQ(console.Output().find("HSM User Password"), std::string::npos);
    }
}

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
    TempDir dir;
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
    TempDir dir;
    const std::string out = dir.Path("hsm.pem");
    PtyDriver console(TARSEL_PATH, {"no.such.host.invalid", "-g", out});
    console.Expect("\nError exporting certificate. ");
    EXPECT_NE(console.WaitExit(), 0);
    EXPECT_TRUE(ReadFileBytes(out).empty());
}

}  // namespace
