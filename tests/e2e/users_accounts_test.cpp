#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"
#include "users_test_steps.h"

namespace {

using namespace users_steps;

const char kSeed[] = "3132333435363738393031323334353637383930";

// Shows the account `id` from "Attributes".
void OpenAccount(PtyDriver &console, const std::string &id) {
    Choose(console, kAttributes, "Users - Attributes");
    console.Expect("User ID: ");
    console.Send(id + "\n");
}

// Picks `option` of the account's change menu.
void PickChange(PtyDriver &console, const std::string &option) {
    console.Expect("Option : ");
    console.Send(option + "\n");
}

void ChangeAccount(PtyDriver &console, const std::string &id, const std::string &option) {
    OpenAccount(console, id);
    PickChange(console, option);
}

TEST(UsersAccounts, BlockedUsersCannotLogInUntilUnblockedAndRemovedOnesNever) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "erin", "Erin#123456", "--acl", "0"}), 0);
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    ChangeAccount(console, "erin", "3");
    console.Expect("User 'erin' is currently  unblocked.\n\n");
    console.Expect("Confirm blocking user 'erin' (y/[n]): ");
    console.Send("y\n");
    console.Expect("\n\nUser 'erin' successfully blocked.\n");
    Continue(console);

    PtyDriver refused(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    refused.Expect("HSM User Password :");
    refused.SendSecret("Erin#123456\n");
    refused.Expect("\nError opening session. ");
    EXPECT_NE(refused.WaitExit(), 0);

    OpenAccount(console, "erin");
    console.Expect("Blocked               - yes\n");
    console.Expect(" 3 - Unblock\n");
    PickChange(console, "3");
    console.Expect("Confirm unblocking user 'erin' (y/[n]): ");
    console.Send("y\n");
    console.Expect("User 'erin' successfully unblocked.");
    Continue(console);

    PtyDriver admitted(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    ASSERT_TRUE(LogIn(admitted, "Erin#123456"));
    Exit(admitted);

    // Removal asks first: ENTER keeps the account, "y" ends its logins for good.
    for (const char *answer : {"\n", "y\n"}) {
        Choose(console, kRemove, "Users - Remove");
        console.Expect("User ID: ");
        console.Send("erin\n");
        console.Expect("Removing the user partition implies the removal of all cryptographic keys");
        console.Expect("Confirm removing permanently user 'erin'. (y/[n]): ");
        console.Send(answer);
        console.Expect(answer[0] == 'y' ? "\n\nUser 'erin' successfully removed.\n"
                                        : "Operation cancelled!");
        Continue(console);
    }
    Exit(console);

    PtyDriver removed(TARSEL_PATH, ConsoleArgs(sim, "erin"));
    removed.Expect("HSM User Password :");
    removed.SendSecret("Erin#123456\n");
    removed.Expect("\nError opening session. ");
    EXPECT_NE(removed.WaitExit(), 0);
}

TEST(UsersAccounts, AnOathEventTokenFromAKnownSeedAdmitsItsOtpAndCanBeReset) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));
    BeginCreate(console, "frank", "Frank#12345");
    DeclineLocalFlags(console);
    console.Expect("Require Two Factor Authentication (y/[n]): ");
    console.Send("y\n");
    console.Expect("Option : ");
    console.Send("1\n");
    console.Expect("Seed Length (characters) [40]:");
    console.Send("\n");
    console.Expect("Seed Data : ");
    console.SendSecret(std::string(kSeed) + "\n");
    FinishCreate(console, "\n\n\n\n\n");
    console.Expect("User 'frank' successfully created.");
    Continue(console);

    PtyDriver withOtp(TARSEL_PATH, ConsoleArgs(sim, "frank", {"-o"}));
    withOtp.Expect("HSM User Password :");
    withOtp.SendSecret("Frank#12345\n");
    withOtp.Expect("OTP [optional, ENTER for none] : ");
    withOtp.Send(Hotp(kSeed, 0) + "\n");
    withOtp.Expect("ID frank");
    withOtp.Expect("Option : ");
    Exit(withOtp);

    ChangeAccount(console, "frank", "4");
    console.Expect("User ID: frank\n");
    console.Expect("Two Factor Auth      - OATH\n\n");
    console.Expect("Reset Two Factor Authentication (y/[n]): ");
    console.Send("y\n");
    console.Expect("User 'frank' successfully reset.");
    Continue(console);
    Exit(console);

    PtyDriver withoutOtp(TARSEL_PATH, ConsoleArgs(sim, "frank"));
    ASSERT_TRUE(LogIn(withoutOtp, "Frank#12345"));
    Exit(withoutOtp);
}

}  // namespace
