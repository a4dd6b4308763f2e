#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"
#include "users_test_steps.h"

namespace {

using namespace users_steps;

TEST(UsersPassword, MyPasswordChecksTheOldOneAndAnEditedPolicyRefusesPasswordsThatBreakIt) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "hank", "Hank#123456", "--acl", "0"}), 0);
    PtyDriver hank(TARSEL_PATH, ConsoleArgs(sim, "hank"));
    ASSERT_TRUE(LogIn(hank, "Hank#123456"));
    // A user with no rights sees "Attributes" and "My Password" only.
    const char *myPassword = "19\n";

    Choose(hank, myPassword, "Users - My Password");
    AnswerSecret(hank, "Old Password: ", "Wrong#123456\n");
    hank.Expect("\nInvalid password!\n");
    Continue(hank);

    // The second change proves that within one session the password just set is the old one.
    for (const auto &[old, next] :
         {std::pair{"Hank#123456", "Hank#654321"}, std::pair{"Hank#654321", "Hank#777777"}}) {
        Choose(hank, myPassword, "Users - My Password");
        // Five characters: asked again, never compared.
        if (old == std::string("Hank#123456")) AnswerSecret(hank, "Old Password: ", "Hank#\n");
        AnswerSecret(hank, "Old Password: ", std::string(old) + "\n");
        AnswerSecret(hank, "New Password: ", std::string(next) + "\n");
        AnswerSecret(hank, "Confirm new password: ", std::string(next) + "\n");
        hank.Expect("\n\nPassword changed successfully.\n\n");
        Continue(hank);
    }
    ExitFromMainMenu(hank);

    LogInAndExit(sim, "hank", "Hank#777777");

    // An edited policy refuses passwords that break it.
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    Choose(console, kPasswordPolicy, "Users - Password Policy");
    console.Expect("Minimal length : ");
    console.Expect("Number of days for expiration (0 for disabled) : ");
    Answer(console, "Do you want to edit it (y/[n]): ", "y\n");
    const std::pair<const char *, const char *> answers[] = {
        {"Minimal length (8-16): ", "12\n"},
        {"Number of special characters : ", "1\n"},
        {"Number of uppercase characters : ", "2\n"},
        {"Number of lowercase characters : ", "1\n"},
        {"Number of invalid logins before block (0 for disabled): ", "3\n"},
        {"Number of days for expiration (0 for disabled) : ", "0\n"},
    };
    for (const auto &[prompt, answer] : answers) {
        Answer(console, prompt, answer);
    }
    console.Expect("\nPolicy changed successfully.\n");
    Continue(console);

    Choose(console, kPasswordPolicy, "Users - Password Policy");
    console.Expect(
        "Minimal length : 12\nNumber of special characters : 1\n"
        "Number of uppercase characters : 2\nNumber of lowercase characters : 1\n"
        "Number of invalid logins before block (0 for disabled): 3\n"
        "Number of days for expiration (0 for disabled) : 0\n");
    Answer(console, "Do you want to edit it (y/[n]): ", "\n");
    Continue(console);

    // Long enough but with a single uppercase letter.
    BeginCreate(console, "ivan", "Ivan#1234567");
    AnswerPlainUser(console);
    console.Expect("\nError creating user. ");
    Continue(console);
    ExitFromMainMenu(console);
}

}  // namespace
