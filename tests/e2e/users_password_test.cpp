#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"
#include "users_test_steps.h"

namespace {

using namespace users_steps;

TEST(UsersPassword, MyPasswordChecksTheOldOneAgainstTheLogin) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "hank", "Hank#123456", "--acl", "0"}), 0);
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "hank"));
    ASSERT_TRUE(LogIn(console, "Hank#123456"));
    // A user with no rights sees "Attributes" and "My Password" only.
    const char *myPassword = "19\n";

    Choose(console, myPassword, "Users - My Password");
    console.Expect("Old Password: ");
    console.SendSecret("Wrong#123456\n");
    console.Expect("\nInvalid password!\n");
    Continue(console);

    Choose(console, myPassword, "Users - My Password");
    console.Expect("Old Password: ");
    console.SendSecret("Hank#\n");  // five characters: asked again, never compared
    console.Expect("Old Password: ");
    console.SendSecret("Hank#123456\n");
    console.Expect("New Password: ");
    console.SendSecret("Hank#654321\n");
    console.Expect("Confirm new password: ");
    console.SendSecret("Hank#654321\n");
    console.Expect("\n\nPassword changed successfully.\n\n");
    Continue(console);

    // In the same session the password just set is the old one.
    Choose(console, myPassword, "Users - My Password");
    console.Expect("Old Password: ");
    console.SendSecret("Hank#654321\n");
    console.Expect("New Password: ");
    console.SendSecret("Hank#777777\n");
    console.Expect("Confirm new password: ");
    console.SendSecret("Hank#777777\n");
    console.Expect("\n\nPassword changed successfully.\n\n");
    Continue(console);
    Exit(console);

    PtyDriver again(TARSEL_PATH, ConsoleArgs(sim, "hank"));
    ASSERT_TRUE(LogIn(again, "Hank#777777"));
    Exit(again);
}

TEST(UsersPassword, AnEditedPolicyRefusesPasswordsThatBreakIt) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    Choose(console, kPasswordPolicy, "Users - Password Policy");
    console.Expect("Minimal length : ");
    console.Expect("Number of days for expiration (0 for disabled) : ");
    console.Expect("Do you want to edit it (y/[n]): ");
    console.Send("y\n");
    const std::pair<const char *, const char *> answers[] = {
        {"Minimal length (8-16): ", "12\n"},
        {"Number of special characters : ", "1\n"},
        {"Number of uppercase characters : ", "2\n"},
        {"Number of lowercase characters : ", "1\n"},
        {"Number of invalid logins before block (0 for disabled): ", "3\n"},
        {"Number of days for expiration (0 for disabled) : ", "0\n"},
    };
    for (const auto &[prompt, answer] : answers) {
        console.Expect(prompt);
        console.Send(answer);
    }
    console.Expect("\nPolicy changed successfully.\n");
    Continue(console);

    Choose(console, kPasswordPolicy, "Users - Password Policy");
    console.Expect(
        "Minimal length : 12\nNumber of special characters : 1\n"
        "Number of uppercase characters : 2\nNumber of lowercase characters : 1\n"
        "Number of invalid logins before block (0 for disabled): 3\n"
        "Number of days for expiration (0 for disabled) : 0\n");
    console.Expect("Do you want to edit it (y/[n]): ");
    console.Send("\n");
    Continue(console);

    // Long enough but with a single uppercase letter.
    BeginCreate(console, "ivan", "Ivan#1234567");
    DeclineLocalFlags(console);
    console.Expect("Require Two Factor Authentication (y/[n]): ");
    console.Send("\n");
    FinishCreate(console, "\n\n\n\n\n");
    console.Expect("\nError creating user. ");
    Continue(console);
    Exit(console);
}

}  // namespace
