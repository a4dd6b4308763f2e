// The dialogues of "HSM - IP Filter": entries with and without a user, the list, and the
// state's toggle, which never lets the operator lock itself out.
#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"

namespace {

constexpr const char *kIpFilterMenu = "41\n";

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

TEST(HsmIpFilter, EntriesListAndToggleWithoutLockingTheOperatorOut) {
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
    ExitFromMainMenu(console);
}

}  // namespace
