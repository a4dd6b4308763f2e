#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console_e2e_support.h"
#include "users_test_steps.h"

namespace {

using namespace users_steps;

// The access-token menu as an operator sees it.
const char kInfo[] = "1\n";
const char kIssue[] = "2\n";
const char kRevoke[] = "3\n";
const char kDetails[] = "4\n";
const char kList[] = "5\n";
const char kRunGc[] = "6\n";

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
        Choose(console, kIssue, "Users - Access Tokens - Issue");
        Answer(console, "or ENTER for no expiration) : ", date);
        console.Expect("\nInvalid date time format.\n");
        Continue(console);
    }

    Choose(console, kIssue, "Users - Access Tokens - Issue");
    Answer(console, "or ENTER for no expiration) : ", "20991231 235959\n");
    console.Expect("Access Token issued successfully.");
    console.Expect("Expiration date: 2099/12/31 23:59:59\n");
    Continue(console);

    Choose(console, kInfo, "Users - Access Tokens - Info");
    console.Expect("HSM Total of Access Tokens: 1\n");
    Continue(console);

    // The collector reports success whether it ran or not.
    for (const char *answer : {"n\n", "y\n"}) {
        Choose(console, kRunGc, "Users - Access Tokens - Run GC");
        Answer(console, "Run Access Tokens GC(y/[n]): ", answer);
        console.Expect("\nAccess Token GC executed successfully.\n\n");
        Continue(console);
    }
    // Then one without expiration, followed through its whole life.
    Choose(console, kIssue, "Users - Access Tokens - Issue");
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

    Choose(console, kList, "Users - Access Tokens - List");
    console.Expect("Expiration Date       Access Token        \n" + std::string(79, '='));
    // The HSM keeps only a digest of the secret: the list names the token by its owner.
    console.Expect("none                  " + token.substr(0, 20));
    console.Expect("\nTotal of Access Tokens: 2\n\n");
    Continue(console);

    Choose(console, kDetails, "Users - Access Tokens - Details");
    Answer(console, "Access Token: ", token + "\n");
    console.Expect("    Expiration date: none\n              Owner: master\n                Key: ");
    Continue(console);

    {
        PtyDriver byToken(TARSEL_PATH, TokenArgs(sim, token));
        byToken.Expect("AT master");
        byToken.Expect("Option : ");
        ExitFromMainMenu(byToken);
    }

    Choose(console, kRevoke, "Users - Access Tokens - Revoke");
    Answer(console, "Access Token: ", token + "\n");
    console.Expect("\nAccess Token revoked successfully.\n\n");
    Continue(console);

    PtyDriver refused(TARSEL_PATH, TokenArgs(sim, token));
    refused.Expect("\nError opening session. ");
    EXPECT_NE(refused.WaitExit(), 0);

    Choose(console, kDetails, "Users - Access Tokens - Details");
    Answer(console, "Access Token: ", token + "\n");
    console.Expect("\nError retrieving details of Access Token. Not Found!\n");
    Continue(console);
    console.Send("0\n");
    console.Expect("Option : ");
    ExitFromMainMenu(console);
}

}  // namespace
