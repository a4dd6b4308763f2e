#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"
#include "users_test_steps.h"

namespace {

using namespace users_steps;

TEST(UsersCreate, ANewUserIsListedWithItsRightsAndCanLogIn) {
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
    Exit(console);

    PtyDriver asAlice(TARSEL_PATH, ConsoleArgs(sim, "alice"));
    ASSERT_TRUE(LogIn(asAlice, "Alice#12345"));
    EXPECT_NE(asAlice.Output().find("ID alice"), std::string::npos);
    Exit(asAlice);
}

TEST(UsersCreate, EachRefusalIsShownAndNothingIsCreatedOnABadConfirmation) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    // A short password is asked again; a different confirmation ends the dialogue.
    Choose(console, kCreate, "Users - Create");
    console.Send("1\n");
    console.Expect("User ID: ");
    console.Send("bob\n");
    console.Expect("Password: ");
    console.SendSecret("Bob#1\n");
    console.Expect("Password must be at least 6 characters long.");
    console.Expect("Password: ");
    console.SendSecret("Bob#123456\n");
    console.Expect("Confirm password: ");
    console.SendSecret("Bob#654321\n");
    console.Expect("Password differs from confirmation!");
    Continue(console);

    // Wrongly typed confirmations leave both local flags off; a 39-character seed, and a
    // 41-character one after a seed length of 20, are refused.
    for (const std::string &seed : {std::string(39, 'A'), std::string(41, 'B')}) {
        BeginCreate(console, "bob", "Bob#123456");
        console.Expect("Require Authorization on Local Console with M of N Scheme (y/[n]): ");
        console.Send("y\n");
        console.Expect("created: ");
        console.Send("m of n\n");
        console.Expect("\nAuthorization on Local Console with M of N Scheme disabled.\n\n");
        console.Expect("Enable local-crypto (y/[n]): ");
        console.Send("y\n");
        console.Expect("created: ");
        console.Send("Locale\n");
        console.Expect("Require Two Factor Authentication (y/[n]): ");
        console.Send("y\n");
        console.Expect("Type:\n 1 - OATH OTP Event\n 2 - OATH OTP Time\n 3 - X.509\nOption : ");
        console.Send("1\n");
        console.Expect("Enter OATH HOTP Seed (hexadecimal characters) \n");
        console.Expect("Seed Length (characters) [40]:");
        console.Send(seed.size() == 39 ? "\n" : "20\n");
        console.Expect("Seed Data : ");
        console.SendSecret(seed + "\n");
        console.Expect("\nError! the Seed Data informed has " + std::to_string(seed.size()) +
                       " characters, 40 are expected.\n");
        console.Expect("Operation cancelled!");
        Continue(console);
    }

    // Text that only begins with the word is taken; the word in another case is not.
    BeginCreate(console, "bob", "Bob#123456");
    console.Expect("M of N Scheme (y/[n]): ");
    console.Send("y\n");
    console.Expect("created: ");
    console.Send("M of N please\n");
    console.Expect("Enable local-crypto (y/[n]): ");
    console.Send("y\n");
    console.Expect("created: ");
    console.Send("local\n");
    console.Expect("\nLocal-crypto disabled.\n\n");
    console.Expect("Require Two Factor Authentication (y/[n]): ");
    console.Send("\n");
    FinishCreate(console, "\n\n\n\n\n");
    console.Expect("User 'bob' successfully created.");
    Continue(console);

    Choose(console, kAttributes, "Users - Attributes");
    console.Expect("User ID: ");
    console.Send("bob\n");
    console.Expect("Partition M of N auth - yes\n");
    console.Expect("Local-crypto          - no\n");
    console.Expect("Option : ");
    console.Send("0\n");
    Continue(console);
    Exit(console);
}

TEST(UsersCreate, AUserCreatorCannotMakeOperatorsOrGrantWhatItLacks) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "carol", "Carol#12345", "--acl", "80"}), 0);  // 0x50
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "carol"));
    ASSERT_TRUE(LogIn(console, "Carol#12345"));
    Choose(console, kCreate, "Users - Create");
    console.Expect("Type: User\nUser ID: ");
    console.Send("dan\n");
    console.Expect("Password: ");
    console.SendSecret("Dan#123456\n");
    console.Expect("Confirm password: ");
    console.SendSecret("Dan#123456\n");
    DeclineLocalFlags(console);
    console.Expect("Require Two Factor Authentication (y/[n]): ");
    console.Send("\n");
    console.Expect("Require User to Change Password at Next LogOn (y/[n]): ");
    console.Send("\n");
    console.Expect("Create/Remove Users (y/[n]): ");
    console.Send("y\n");
    console.Expect("List Users (y/[n]): ");
    console.Send("y\n");
    console.Expect("Remote Info: no\nBackup/Restore: no\nFirmware Update: no\n");
    console.Expect("User 'dan' successfully created.");
    Continue(console);

    Choose(console, kList, "Users - List");
    console.Expect("dan                             User       yes yes no  no  no ");
    Continue(console);
    Exit(console);
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
    Exit(console);
}

}  // namespace
