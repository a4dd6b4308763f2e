// "HSM - Tools": what ping printed on the HSM, framed by an empty line and a newline, and a
// target that tries to be a command.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "console_e2e_support.h"

namespace {

constexpr const char *kToolsMenu = "44\n";

TEST(HsmTools, PingShowsTheHsmsOutputAndAnInjectedTargetIsRefused) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    ChooseSubmenuItem(console, kToolsMenu, "1\n", "HSM - Tools - Ping\n\n");
    Answer(console, "Target : ", "127.0.0.1;reboot\n");
    console.Expect(
        "\nError executing HSM tools. The target is neither a host name nor an IP "
        "address. (1127)\n");
    Answer(console, "Press ENTER key to continue...", "\n");

    Answer(console, "Option : ", "1\n");
    Answer(console, "Target : ", "127.0.0.1\n");
    // Four probes a second apart.
    ASSERT_TRUE(console.Expect("Press ENTER key to continue...", std::chrono::seconds(30)));
    const std::string shown = console.Output();
    console.Send("\n");
    Answer(console, "Option : ", "0\n");
    console.Expect("Option : ");
    ExitFromMainMenu(console);
    if (shown.find("Operation not permitted") != std::string::npos)
        GTEST_SKIP() << "ping may not open its socket here (CAP_NET_RAW or "
                        "net.ipv4.ping_group_range)";
    // Between an empty line and a newline: its own last line, then the pause's empty line.
    EXPECT_NE(shown.find("\nPING 127.0.0.1 (127.0.0.1) "), std::string::npos) << shown;
    EXPECT_NE(shown.find(" ms\n\n\nPress ENTER key to continue..."), std::string::npos) << shown;
}

}  // namespace
