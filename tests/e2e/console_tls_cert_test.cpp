#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "console_e2e_support.h"

namespace {

// True when nothing on this machine holds 127.0.0.1:4433 right now.
bool StandardPortIsFree() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(4433);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool free = bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    close(fd);
    return free;
}

// -g always fetches from port 4433, so the simulator of this test must listen there, and
// -p points somewhere else on purpose.
TEST(ConsoleTlsCertificate, ExportComesFromPort4433WhateverDashPSays) {
    if (!StandardPortIsFree()) GTEST_SKIP() << "127.0.0.1:4433 is in use on this machine";
    SimProcess sim(SimProcess::Options{.extraArgs = {"--listen", "127.0.0.1:4433"}});
    ASSERT_EQ(sim.port(), 4433);
    ScratchDir dir;
    const std::string out = dir.Path("hsm.pem");

    PtyDriver console(TARSEL_PATH, {"127.0.0.1", "-g", out, "-p", "1234"});
    console.Expect("\nCertificate exported successfully.\n\n");
    EXPECT_EQ(console.WaitExit(), 0);
    EXPECT_EQ(console.Output().find("HSM User Password"), std::string::npos);
    EXPECT_EQ(console.Output().find("Main Menu"), std::string::npos);
    const std::string pem = ReadFileBytes(out);
    EXPECT_EQ(pem.rfind("-----BEGIN CERTIFICATE-----", 0), 0u) << pem;
    EXPECT_EQ(pem, ReadFileBytes(sim.dataDir() + "/tls.crt"));
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
