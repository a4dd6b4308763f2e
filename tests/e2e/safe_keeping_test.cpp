// Safe-keeping dialogues: a secret split among custodians, each on a screen of their own, then
// recovered and matched from their shares; and the edge cases of the creation and split
// questions.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "keys_dialogue.h"

namespace {

using keys_e2e::KeysConsole;

struct CustodianShare {
    std::string share;
    std::string checksum;
};

void OpenSafeKeeping(KeysConsole &console, const std::string &item) {
    console.Open("Safe Keeping...", "HSM - Safe Keeping\n\n");
    console.Choose(item, "HSM - Safe Keeping - " + item + "\n\n");
}

// The text between `label` and the next line end.
std::string LineAfter(KeysConsole &console, const std::string &label) {
    console.Expect(label);
    console.Expect("\n");
    const std::string output = console.pty().Output();
    const size_t at = output.rfind(label) + label.size();
    return output.substr(at, output.find('\n', at) - at);
}

// `answers` go to the authentication questions in turn; X.509 comes only after a no to OATH.
void NewSecret(KeysConsole &console, const std::string &name, const std::string &level,
               const std::vector<std::string> &answers) {
    static const char *const kQuestions[] = {
        "M of N any state (y/[n]):", "OATH (y/[n]):", "X.509 (y/[n]):"};
    OpenSafeKeeping(console, "New");
    console.Answer("Secret Name (HSM) : ", name + "\n");
    console.Answer("Option : ", level + "\n");
    for (size_t i = 0; i < answers.size(); ++i)
        console.Answer(kQuestions[i], answers[i] + "\n");
    console.Expect("\nSecret created successfully.\n");
    console.Leave(1);
}

// Up to the custodians' screens: the name, the properties and the quorum.
void StartCollection(KeysConsole &console, const std::string &item, const std::string &name,
                     const std::string &quorum) {
    OpenSafeKeeping(console, item);
    console.Answer("Secret Name (HSM) : ", name + "\n");
    console.Answer("Quorum to recover the secret (M) : ", quorum + "\n");
    console.Answer("the entered material to the next custodian.", "");
    console.Answer("Press ENTER key to continue...", "\n");
}

void EnterShare(KeysConsole &console, int number, const std::string &share,
                const std::string &checksum) {
    const std::string n = std::to_string(number);
    console.Answer("Share " + n + " (base62 characters) :\n\n", share + "\n");
    console.Answer("Checksum (4 numbers) (Optional, press ENTER to skip checksum) :\n\n",
                   checksum + "\n");
}

void ShareAccepted(KeysConsole &console, int number) {
    console.Expect("\n\nShare " + std::to_string(number) + " entered ok.\n");
    console.Answer("Press ENTER key to continue...", "\n");
}

std::string OtherChecksum(const std::string &checksum) {
    return checksum == "0000" ? "1111" : "0000";
}

TEST(SafeKeeping, CustodiansSplitRecoverAndMatchOneScreenEachAndTheQuestionsFollowTheType) {
    KeysConsole console;
    ASSERT_TRUE(console.ready());
    NewSecret(console, "vault", "5", {"n", "", ""});

    OpenSafeKeeping(console, "Split");
    console.Answer("Secret Name (HSM) : ", "vault\n");
    console.Expect("     Security level : 160 bits\nAuthentication type : Not limited\n");
    console.Answer("Total number of parts (N) : ", "3\n");
    console.Answer("Quorum to recover the secret (M) : ", "2\n");
    console.Expect("This split procedure will generate N shares of the secret and it's");
    console.Answer("Press ENTER key to continue...", "\n");
    std::vector<CustodianShare> custodians;
    for (int number = 1; number <= 3; ++number) {
        const std::string n = std::to_string(number);
        // The cover screen names the share but does not show it.
        console.Expect("Secret Name (HSM) : vault\n\nShare " + n + " successfully split.\n\n");
        console.Expect("This share will be shown on the next screen.");
        const size_t cover = console.pty().Output().size();
        console.Answer("Press ENTER key to continue...", "\n");
        CustodianShare custodian;
        custodian.share = LineAfter(console, "Secret Name (HSM) : vault\nShare " + n + ":\n\n");
        custodian.checksum = LineAfter(console, "Checksum:\n\n");
        EXPECT_EQ(console.pty().Output().substr(0, cover).find(custodian.share), std::string::npos);
        EXPECT_LE(custodian.share.size(), 64u);
        EXPECT_EQ(custodian.checksum.size(), 4u);
        console.Answer("Press ENTER key to continue...", "\n");
        custodians.push_back(custodian);
    }
    console.Leave(1);

    // A wrong checksum asks again; a skipped one is not checked.
    StartCollection(console, "Recover", "vault", "2");
    EnterShare(console, 1, custodians[0].share, OtherChecksum(custodians[0].checksum));
    console.Expect("\nSecret and Checksum doesn't match. Please try again...\n\n\n");
    EnterShare(console, 1, custodians[0].share, custodians[0].checksum);
    ShareAccepted(console, 1);
    EnterShare(console, 2, custodians[2].share, "");
    ShareAccepted(console, 2);
    console.Expect("\nSecret recovered successfully.\n\n");
    console.Expect("The secret will be shown in the next screen.");
    console.Answer("Press ENTER key to continue...", "\n");
    const std::string secret = LineAfter(console, "HSM - Safe Keeping - Recover\n\n\n");
    EXPECT_EQ(secret.size(), 40u);
    EXPECT_EQ(secret.find_first_not_of("0123456789ABCDEF"), std::string::npos);
    console.Leave(1);

    StartCollection(console, "Match", "vault", "2");
    EnterShare(console, 1, custodians[1].share, custodians[1].checksum);
    ShareAccepted(console, 1);
    EnterShare(console, 2, custodians[2].share, "");
    ShareAccepted(console, 2);
    console.Expect("\nSecret matched successfully.\n\n");
    EXPECT_EQ(console.pty().Output().find(secret), console.pty().Output().rfind(secret));
    console.Leave(1);

    // Three wrong checksums leave the share empty; the next custodian still comes, and the
    // HSM refuses.
    StartCollection(console, "Match", "vault", "2");
    for (int attempt = 0; attempt < 3; ++attempt)
        EnterShare(console, 1, custodians[0].share, OtherChecksum(custodians[0].checksum));
    console.Answer("Press ENTER key to continue...", "\n");
    EnterShare(console, 2, custodians[1].share, "");
    ShareAccepted(console, 2);
    console.Expect("\nError match secret. ");
    console.Expect("(1044)");
    console.Leave(1);

    // The creation questions, properties and refusals follow the secret's type.
    // Yes to OATH leaves X.509 unasked: the next question is the HSM's answer.
    const size_t asked = console.pty().Output().size();
    NewSecret(console, "otp", "1", {"n", "y"});
    EXPECT_EQ(console.pty().Output().find("X.509 (y/[n]):", asked), std::string::npos);
    NewSecret(console, "mixed", "4", {"y", "n", "y"});

    OpenSafeKeeping(console, "Info");
    console.Answer("Secret Name (HSM) : ", "mixed\n");
    console.Expect("     Security level : 128 bits\nAuthentication type : M of N, X.509\n");
    console.Expect("\nSecret info recovered successfully.\n\n");
    console.Leave(1);

    // M above N goes to the HSM, which refuses; 17 parts the prompt refuses itself.
    OpenSafeKeeping(console, "Split");
    console.Answer("Secret Name (HSM) : ", "otp\n");
    console.Expect("Authentication type : OAUTH\n");
    console.Answer("Total number of parts (N) : ", "3\n");
    console.Answer("Quorum to recover the secret (M) : ", "4\n");
    console.Expect("\nError splitting secret. ");
    console.Expect("(1042)");
    console.Leave(1);
    OpenSafeKeeping(console, "Split");
    console.Answer("Secret Name (HSM) : ", "otp\n");
    console.Answer("Total number of parts (N) : ", "17\n");
    console.Expect("Invalid number value.Mininum length is 2. Maximum length is 16.\n");
    console.Leave(1);

    console.ImportedClearKey("2", "1", "des", "0123456789ABCDEFFEDCBA9876543210");
    OpenSafeKeeping(console, "Info");
    console.Answer("Secret Name (HSM) : ", "des\n");
    console.Expect("\nError invalid key.\n");
    console.Leave(1);

    OpenSafeKeeping(console, "Remove");
    console.Answer("Secret Name (HSM) : ", "mixed\n");
    console.Answer("Press ENTER key to continue...", "\n");
    console.Expect("recovered from the HSM again.");
    console.Answer("Are you sure you want to remove this secret (y/[n]): ", "y\n");
    console.Expect("\nSecret removed successfully.\n\n");
    console.Leave(1);
    OpenSafeKeeping(console, "Info");
    console.Answer("Secret Name (HSM) : ", "mixed\n");
    console.Expect("\nError accessing key. ");
    console.Leave(1);
    EXPECT_EQ(console.Exit(), 0);
}

}  // namespace
