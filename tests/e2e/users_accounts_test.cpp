#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"
#include "users_test_steps.h"

namespace {

using namespace users_steps;

TEST(UsersAccounts, BlockedUsersLogInOnceUnblockedRemovedOnesNeverAndOathUsersWithTheirOtp) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "erin", "Erin#123456", "--acl", "0"}), 0);
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    OpenAccount(console, "erin");
    Answer(console, "Option : ", "3\n");
    console.Expect("User 'erin' is currently  unblocked.\n\n");
    Answer(console, "Confirm blocking user 'erin' (y/[n]): ", "y\n");
    console.Expect("\n\nUser 'erin' successfully blocked.\n");
    Continue(console);

    ExpectLoginRefused(sim, "erin", "Erin#123456");

    OpenAccount(console, "erin");
    console.Expect("Blocked               - yes\n");
    console.Expect(" 3 - Unblock\n");
    Answer(console, "Option : ", "3\n");
    Answer(console, "Confirm unblocking user 'erin' (y/[n]): ", "y\n");
    console.Expect("User 'erin' successfully unblocked.");
    Continue(console);

    LogInAndExit(sim, "erin", "Erin#123456");

    // Removal asks first: ENTER keeps the account, "y" ends its logins for good.
    for (const char *answer : {"\n", "y\n"}) {
        Choose(console, kRemove, "Users - Remove");
        Answer(console, "User ID: ", "erin\n");
        console.Expect("Removing the user partition implies the removal of all cryptographic keys");
        Answer(console, "Confirm removing permanently user 'erin'. (y/[n]): ", answer);
        console.Expect(answer[0] == 'y' ? "\n\nUser 'erin' successfully removed.\n"
                                        : "Operation cancelled!");
        Continue(console);
    }

    // An OATH event token from a known seed admits its OTP, and can be reset.
    BeginCreate(console, "frank", "Frank#12345");
    DeclineLocalFlags(console);
    Answer(console, "Require Two Factor Authentication (y/[n]): ", "y\n");
    Answer(console, "Option : ", "1\n");
    Answer(console, "Seed Length (characters) [40]:", "\n");
    AnswerSecret(console, "Seed Data : ", std::string(kOathSeedHex) + "\n");
    FinishCreate(console, "\n\n\n\n\n");
    console.Expect("User 'frank' successfully created.");
    Continue(console);

    PtyDriver withOtp(TARSEL_PATH, ConsoleArgs(sim, "frank", {"-o"}));
    AnswerSecret(withOtp, "HSM User Password :", "Frank#12345\n");
    Answer(withOtp, "OTP [optional, ENTER for none] : ", Hotp(0) + "\n");
    withOtp.Expect("ID frank");
    withOtp.Expect("Option : ");
    ExitFromMainMenu(withOtp);

    OpenAccount(console, "frank");
    Answer(console, "Option : ", "4\n");
    console.Expect("User ID: frank\n");
    console.Expect("Two Factor Auth      - OATH\n\n");
    Answer(console, "Reset Two Factor Authentication (y/[n]): ", "y\n");
    console.Expect("User 'frank' successfully reset.");
    Continue(console);
    ExitFromMainMenu(console);

    ExpectLoginRefused(sim, "erin", "Erin#123456");
    LogInAndExit(sim, "frank", "Frank#12345");
}

}  // namespace
