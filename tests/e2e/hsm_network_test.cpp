// The dialogues of "HSM - IP Filter": entries with and without a user, the list, and the
// state's toggle, which never lets the operator lock itself out; then "HSM - Tools": what
// ping printed on the HSM, framed by an empty line and a newline, and a target that tries to
// be a command.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "console_e2e_support.h"

namespace {

constexpr const char *kIpFilterMenu = "41\n";
constexpr const char *kToolsMenu = "44\n";

void ChooseItem(PtyDriver &console, const char *item, const std::string &heading) {
    Answer(console, "Option : ", item);
    console.Expect(heading);
}

void Pause(PtyDriver &console) {
    Answer(console, "Press ENTER key to continue...", "\n");
}

constexpr const char *kDisabled = "IP Filter is Disabled.\n\n";
constexpr const char *kEnabled = "IP Filter is Enabled.\n\n";

// The dialogue of "Add" or "Remove", which first shows the state.
void Entry(PtyDriver &console, const char *action, const char *state, const std::string &user,
           const std::string &host) {
    const bool add = std::string(action) == "Add";
    ChooseItem(console, add ? "1\n" : "2\n", std::string("HSM - IP Filter - ") + action + "\n\n");
    console.Expect(state);
    Answer(console, "User Id (optional, ENTER for none): ", user + "\n");
    Answer(console, "Host IP: ", host + "\n");
}

TEST(HsmNetwork, IpFilterNeverLocksTheOperatorOutAndPingShowsTheHsmsOutput) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));
    console.Send(kIpFilterMenu);
    console.Expect("HSM - IP Filter\n\n");

    // No entry admits the console's own address yet.
    ChooseItem(console, "4\n", "HSM - IP Filter - Status\n\n");
    Answer(console, "IP Filter is currently Disabled, do you want enable it (y/[n])?", "y\n");
    console.Expect(
        "\nError enabling IP Filter. The IP filter would refuse this client's own "
        "address. (1125)\n");
    Pause(console);

    Entry(console, "Add", kDisabled, "", "127.0.0.1");
    console.Expect("\nEntry IP: 127.0.0.1 successfuly added.\n\n");
    Pause(console);
    Entry(console, "Add", kDisabled, "alice", "127.0.0.2");
    console.Expect("\nEntry IP: 127.0.0.2, user: alice successfuly added.\n\n");
    Pause(console);

    ChooseItem(console, "4\n", "HSM - IP Filter - Status\n\n");
    Answer(console, "IP Filter is currently Disabled, do you want enable it (y/[n])?", "y\n");
    console.Expect("\nIP Filter is now enabled.\n\n");
    Pause(console);

    ChooseItem(console, "3\n", "HSM - IP Filter - List\n\n");
    console.Expect(std::string(kEnabled) + "          Host IP    User             \n" +
                   std::string(41, '-') +
                   "\n"
                   "        127.0.0.1                     \n"
                   "        127.0.0.2    alice            \n");
    Pause(console);

    Entry(console, "Add", kEnabled, "", "127.0.0.1");
    console.Expect("\nError adding host to IP Filter. ");
    Pause(console);
    Entry(console, "Remove", kEnabled, "", "127.0.0.1");
    console.Expect(
        "\nError removing host from IP Filter. The IP filter would refuse this "
        "client's own address. (1125)\n");
    Pause(console);
    Entry(console, "Remove", kEnabled, "alice", "");
    console.Expect("\nOperation cancelled!\n");
    Pause(console);
    Entry(console, "Remove", kEnabled, "alice", "127.0.0.2");
    console.Expect("\nEntry IP: 127.0.0.2, user: alice successfuly removed.\n\n");
    Pause(console);

    ChooseItem(console, "4\n", "HSM - IP Filter - Status\n\n");
    Answer(console, "IP Filter is currently Enabled, do you want disable it (y/[n])?", "\n");
    console.Expect("\nIP Filter remains enabled.\n\n");
    Pause(console);
    Answer(console, "Option : ", "0\n");
    Pause(console);
    console.Expect("Option : ");

    ChooseSubmenuItem(console, kToolsMenu, "1\n", "HSM - Tools - Ping\n\n");
    Answer(console, "Target : ", "127.0.0.1;reboot\n");
    console.Expect(
        "\nError executing HSM tools. The target is neither a host name nor an IP "
        "address. (1127)\n");
    Pause(console);
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
