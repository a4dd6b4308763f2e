#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"
#include "users_test_steps.h"

namespace {

using namespace users_steps;

TEST(UsersCreate, ANewUserIsListedWithItsRightsAndCanLogInAndEachRefusalIsShown) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));
    // Only "List Users" granted.
    CreatePlainUser(console, "alice", "Alice#12345", "\ny\n\n\n\n");

    Choose(console, kList, "Users - List");
    console.Expect(
        "User                            Type       Crt Lst Log Bkp Frw             Objs\n" +
        std::string(79, '=') + "\n");
    console.Expect(
        "alice                           User       no  yes no  no  no                 0\n");
    console.Expect("\nTotal of users: 2\n ");
    Continue(console);

    // Each refusal is shown. A short password is asked again; a different confirmation ends
    // the dialogue.
    Choose(console, kCreate, "Users - Create");
    Answer(console, "Option : ", "1\n");
    Answer(console, "User ID: ", "bob\n");
    AnswerSecret(console, "Password: ", "Bob#1\n");
    console.Expect("Password must be at least 6 characters long.");
    AnswerSecret(console, "Password: ", "Bob#123456\n");
    AnswerSecret(console, "Confirm password: ", "Bob#654321\n");
    console.Expect("Password differs from confirmation!");
    Continue(console);

    // Wrongly typed confirmations leave both local flags off; a 39-character seed, and a
    // 41-character one after a seed length of 20, are refused.
    for (const std::string &seed : {std::string(39, 'A'), std::string(41, 'B')}) {
        BeginCreate(console, "bob", "Bob#123456");
        Answer(console,
               "Require Authorization on Local Console with M of N Scheme (y/[n]): ", "y\n");
        Answer(console, "created: ", "m of n\n");
        console.Expect("\nAuthorization on Local Console with M of N Scheme disabled.\n\n");
        Answer(console, "Enable local-crypto (y/[n]): ", "y\n");
        Answer(console, "created: ", "Locale\n");
        Answer(console, "Require Two Factor Authentication (y/[n]): ", "y\n");
        Answer(console,
               "Type:\n 1 - OATH OTP Event\n 2 - OATH OTP Time\n 3 - X.509\nOption : ", "1\n");
        console.Expect("Enter OATH HOTP Seed (hexadecimal characters) \n");
        Answer(console, "Seed Length (characters) [40]:", seed.size() == 39 ? "\n" : "20\n");
        AnswerSecret(console, "Seed Data : ", seed + "\n");
        console.Expect("\nError! the Seed Data informed has " + std::to_string(seed.size()) +
                       " characters, 40 are expected.\n");
        console.Expect("Operation cancelled!");
        Continue(console);
    }

    // Text that only begins with the word is taken; the word in another case is not.
    BeginCreate(console, "bob", "Bob#123456");
    Answer(console, "M of N Scheme (y/[n]): ", "y\n");
    Answer(console, "created: ", "M of N please\n");
    Answer(console, "Enable local-crypto (y/[n]): ", "y\n");
    Answer(console, "created: ", "local\n");
    console.Expect("\nLocal-crypto disabled.\n\n");
    Answer(console, "Require Two Factor Authentication (y/[n]): ", "\n");
    FinishCreate(console, "\n\n\n\n\n");
    console.Expect("User 'bob' successfully created.");
    Continue(console);

    OpenAccount(console, "bob");
    console.Expect("Partition M of N auth - yes\n");
    console.Expect("Local-crypto          - no\n");
    Answer(console, "Option : ", "0\n");
    Continue(console);
    ExitFromMainMenu(console);

    LogInAndExit(sim, "alice", "Alice#12345");

    // A user creator cannot make operators or grant what it lacks.
    ASSERT_EQ(sim.Simctl({"add-user", "carol", "Carol#12345", "--acl", "80"}), 0);  // 0x50
    PtyDriver carol(TARSEL_PATH, ConsoleArgs(sim, "carol"));
    ASSERT_TRUE(LogIn(carol, "Carol#12345"));
    Choose(carol, kCreate, "Users - Create");
    Answer(carol, "Type: User\nUser ID: ", "dan\n");
    AnswerSecret(carol, "Password: ", "Dan#123456\n");
    AnswerSecret(carol, "Confirm password: ", "Dan#123456\n");
    DeclineLocalFlags(carol);
    Answer(carol, "Require Two Factor Authentication (y/[n]): ", "\n");
    Answer(carol, "Require User to Change Password at Next LogOn (y/[n]): ", "\n");
    Answer(carol, "Create/Remove Users (y/[n]): ", "y\n");
    Answer(carol, "List Users (y/[n]): ", "y\n");
    carol.Expect("Remote Info: no\nBackup/Restore: no\nFirmware Update: no\n");
    carol.Expect("User 'dan' successfully created.");
    Continue(carol);

    Choose(carol, kList, "Users - List");
    carol.Expect("dan                             User       yes yes no  no  no ");
    Continue(carol);
    ExitFromMainMenu(carol);
}

TEST(UsersCreate, OldFirmwareListsNoObjectCounts) {
    SimProcess sim(SimProcess::Options{.extraArgs = {"--firmware", "5.0.31.0"}});
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));
    Choose(console, kList, "Users - List");
    console.Expect(
        "master                          Operator                                      -\n");
    console.Expect("\nTotal of users: 1\n ");
    Continue(console);
    ExitFromMainMenu(console);
}

}  // namespace
