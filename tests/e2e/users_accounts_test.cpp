// The user screens as an operator, a user creator and a plain user see them: creation and
// its refusals, the list, blocking, removal, second factors, passwords and their policy, and
// access tokens.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

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

TEST(UsersAccounts, BlockingRemovalOathMyPasswordAndAnEditedPolicy) {
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

    // My Password checks the old one, and an edited policy refuses passwords that break it.
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
    PtyDriver master(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(master, sim.initPassword()));

    Choose(master, kPasswordPolicy, "Users - Password Policy");
    master.Expect("Minimal length : ");
    master.Expect("Number of days for expiration (0 for disabled) : ");
    Answer(master, "Do you want to edit it (y/[n]): ", "y\n");
    const std::pair<const char *, const char *> answers[] = {
        {"Minimal length (8-16): ", "12\n"},
        {"Number of special characters : ", "1\n"},
        {"Number of uppercase characters : ", "2\n"},
        {"Number of lowercase characters : ", "1\n"},
        {"Number of invalid logins before block (0 for disabled): ", "3\n"},
        {"Number of days for expiration (0 for disabled) : ", "0\n"},
    };
    for (const auto &[prompt, answer] : answers) {
        Answer(master, prompt, answer);
    }
    master.Expect("\nPolicy changed successfully.\n");
    Continue(master);

    Choose(master, kPasswordPolicy, "Users - Password Policy");
    master.Expect(
        "Minimal length : 12\nNumber of special characters : 1\n"
        "Number of uppercase characters : 2\nNumber of lowercase characters : 1\n"
        "Number of invalid logins before block (0 for disabled): 3\n"
        "Number of days for expiration (0 for disabled) : 0\n");
    Answer(master, "Do you want to edit it (y/[n]): ", "\n");
    Continue(master);

    // Long enough but with a single uppercase letter.
    BeginCreate(master, "ivan", "Ivan#1234567");
    AnswerPlainUser(master);
    master.Expect("\nError creating user. ");
    Continue(master);
    ExitFromMainMenu(master);
}

// The access-token menu as an operator sees it.
const char kTokenInfo[] = "1\n";
const char kTokenIssue[] = "2\n";
const char kTokenRevoke[] = "3\n";
const char kTokenDetails[] = "4\n";
const char kTokenList[] = "5\n";
const char kTokenGc[] = "6\n";

std::vector<std::string> TokenArgs(const SimProcess &sim, const std::string &token) {
    return {"127.0.0.1", "-a", token, "-p", std::to_string(sim.port())};
}

TEST(TokensAccess, DatesAreCheckedAndAnIssuedTokenLogsInUntilItIsRevoked) {
    SimProcess sim;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master", {"-ea"}));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));
    Choose(console, kAccessTokens, "Users - Access Tokens\n\n");
    console.Expect("Option : ");

    for (const char *date : {"2030010A\n", "2030010212\n"}) {
        Choose(console, kTokenIssue, "Users - Access Tokens - Issue");
        Answer(console, "or ENTER for no expiration) : ", date);
        console.Expect("\nInvalid date time format.\n");
        Continue(console);
    }

    Choose(console, kTokenIssue, "Users - Access Tokens - Issue");
    Answer(console, "or ENTER for no expiration) : ", "20991231 235959\n");
    console.Expect("Access Token issued successfully.");
    console.Expect("Expiration date: 2099/12/31 23:59:59\n");
    Continue(console);

    Choose(console, kTokenInfo, "Users - Access Tokens - Info");
    console.Expect("HSM Total of Access Tokens: 1\n");
    Continue(console);

    // The collector reports success whether it ran or not.
    for (const char *answer : {"n\n", "y\n"}) {
        Choose(console, kTokenGc, "Users - Access Tokens - Run GC");
        Answer(console, "Run Access Tokens GC(y/[n]): ", answer);
        console.Expect("\nAccess Token GC executed successfully.\n\n");
        Continue(console);
    }
    // Then one without expiration, followed through its whole life.
    Choose(console, kTokenIssue, "Users - Access Tokens - Issue");
    console.Expect("Please note: the HSM operator may revoke Access Tokens at any time!");
    Answer(console,
           "Expiration date (GMT): (YYYYMMDD [hhmmss] or ENTER for no expiration) : ", "\n");
    console.Expect("\n\nAccess Token issued successfully.\n\n");
    // The token is the line printed just before the message.
    const std::string out = console.Output();
    const size_t end = out.rfind("\n\nAccess Token issued successfully.");
    const size_t begin = out.rfind('\n', end - 1) + 1;
    const std::string token = out.substr(begin, end - begin);
    console.Expect("Expiration date: none\n");
    Continue(console);
    ASSERT_EQ(token.size(), 44u) << token;

    Choose(console, kTokenList, "Users - Access Tokens - List");
    console.Expect("Expiration Date       Access Token        \n" + std::string(79, '='));
    // The HSM keeps only a digest of the secret: the list names the token by its owner.
    console.Expect("none                  " + token.substr(0, 20));
    console.Expect("\nTotal of Access Tokens: 2\n\n");
    Continue(console);

    Choose(console, kTokenDetails, "Users - Access Tokens - Details");
    Answer(console, "Access Token: ", token + "\n");
    console.Expect("    Expiration date: none\n              Owner: master\n                Key: ");
    Continue(console);

    {
        PtyDriver byToken(TARSEL_PATH, TokenArgs(sim, token));
        byToken.Expect("AT master");
        byToken.Expect("Option : ");
        ExitFromMainMenu(byToken);
    }

    Choose(console, kTokenRevoke, "Users - Access Tokens - Revoke");
    Answer(console, "Access Token: ", token + "\n");
    console.Expect("\nAccess Token revoked successfully.\n\n");
    Continue(console);

    PtyDriver refused(TARSEL_PATH, TokenArgs(sim, token));
    refused.Expect("\nError opening session. ");
    EXPECT_NE(refused.WaitExit(), 0);

    Choose(console, kTokenDetails, "Users - Access Tokens - Details");
    Answer(console, "Access Token: ", token + "\n");
    console.Expect("\nError retrieving details of Access Token. Not Found!\n");
    Continue(console);
    console.Send("0\n");
    console.Expect("Option : ");
    ExitFromMainMenu(console);
}

}  // namespace
