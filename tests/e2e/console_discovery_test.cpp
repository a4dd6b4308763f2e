#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>

#include "console_e2e_support.h"

namespace {

std::string DiscoveryEnv(uint16_t port) {
    return "QELVOARC_DISCOVERY_PORT=" + std::to_string(port);
}

// The addresses found lead to the standard port, where this test's simulator is not, so
// the dialogue is followed up to the connection attempt.
TEST(ConsoleDiscovery, EnterAtTheAddressOrDashSipSearchesTheNetworkAndNoneOrARefusedOneCancels) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, {}, {DiscoveryEnv(sim.discoveryPort())});
    Answer(console, "HSM Orvena IP : ", "\n");
    console.Expect("\n 1 - 127.0.0.1\n");
    Answer(console, "\nSelect a HSM to connect : ", "1\n");
    Answer(console, "HSM User ID : ", "master\n");
    AnswerSecret(console, "HSM User Password :", sim.initPassword() + "\n");
    Answer(console, "\nOTP [optional, ENTER for none] : ", "\n");
    console.Expect("\n\nConnecting...\n\n");

    PtyDriver search(TARSEL_PATH, {"-sip"}, {DiscoveryEnv(sim.discoveryPort())});
    search.Expect("HSM Orvena IP : \n");
    search.Expect("\n 1 - 127.0.0.1\n");
    Answer(search, "Select a HSM to connect : ", "2\n");
    search.Expect("\nOperation cancelled!\n");
    EXPECT_EQ(search.WaitExit(), 1);

    // A UDP port that this test holds and never answers on.
    const int silent = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(bind(silent, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(getsockname(silent, reinterpret_cast<sockaddr *>(&address), &length), 0);

    PtyDriver nothing(TARSEL_PATH, {"-sip"}, {DiscoveryEnv(ntohs(address.sin_port))});
    nothing.Expect("\nNo HSMs were found.\n");
    nothing.Expect("\nOperation cancelled!\n");
    EXPECT_EQ(nothing.WaitExit(), 1);
    close(silent);
}

}  // namespace
