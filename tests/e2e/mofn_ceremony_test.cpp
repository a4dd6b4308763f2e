// A whole M of N ceremony through the console, with orvena-card switching the custodians'
// cards between prompts as they would at the reader.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "keys_dialogue.h"
#include "qelvoarc.h"
#include "shell.h"

namespace {

constexpr const char *kPin = "12345678";
constexpr const char *kPassword = "Passw0rd!x";

class Ceremony {
  public:
    Ceremony() {
        EXPECT_EQ(sim_.Simctl({"add-user", "clerk", kPassword, "--acl", "1024"}), 0);
        for (int card = 1; card <= 8; ++card)
            EXPECT_EQ(Card("new c" + std::to_string(card)), 0);
        // An exportable key, and a session of the clerk's own that tries to export it.
        EXPECT_EQ(QInitialize(0), Q_OK);
        EXPECT_EQ(OpenLibrarySession(sim_, "clerk", kPassword, &session_), Q_OK);
        EXPECT_EQ(QGenerateKey(session_, "aes", Q_ALG_AES_128, Q_KEY_EXPORTABLE, &key_), Q_OK);
        console_ = std::make_unique<PtyDriver>(
            TARSEL_PATH, ConsoleArgs(sim_, "clerk"),
            std::vector<std::string>{"QELVOARC_SC_READER=" + reader_.path()});
        ready_ = LogIn(*console_, kPassword);
    }
    ~Ceremony() {
        QDestroyKey(key_, 0);
        QCloseSession(&session_, 0);
        QFinalize();
    }

    bool ready() const { return ready_; }
    PtyDriver &pty() { return *console_; }
    SimProcess &sim() { return sim_; }

    int Card(const std::string &arguments, std::string *out = nullptr) {
        return Shell(std::string(ORVENA_CARD_PATH) + " --reader " + reader_.path() + " " +
                         arguments + " 2>/dev/null",
                     out);
    }

    uint32_t Export() {
        uint8_t *blob = nullptr;
        uint32_t length = 0;
        const uint32_t status = QExportKey(key_, 0, Q_BLOB_CLEAR_SYMMETRIC, &blob, &length, 0);
        QFree(blob);
        return status;
    }

    void Choose(const std::string &label, const std::string &heading) {
        console_->Send(keys_e2e::ItemNumber(console_->Output(), label) + "\n");
        console_->Expect(heading);
    }

    void Answer(const std::string &prompt, const std::string &reply) {
        ::Answer(*console_, prompt, reply);
    }

    // Between custodians: the next one, or after the last the pause.
    void NextCustodian(bool last) {
        if (last) {
            Answer("Press ENTER key to continue...", "\n");
        } else {
            Answer("Actions :\n 1 - Next custodian\n 2 - Abort\nOption : ", "1\n");
        }
    }

    // Each card inserted only once the console asks for it.
    void PresentCards(const std::vector<std::string> &cards, const std::string &m) {
        const std::string n = std::to_string(cards.size());
        for (size_t i = 0; i < cards.size(); ++i) {
            console_->Expect("!! Please insert your smart card !!\n\n");
            EXPECT_EQ(Card("insert " + cards[i]), 0);
            AnswerSecret(*console_, "PIN: ", std::string(kPin) + "\n");
            console_->Expect("\n\nM: " + m + "\nN: " + n + "\nPos: " + std::to_string(i + 1) +
                             "\n\nOperation completed successfully.\n\n"
                             "!! Please remove your smart card !!\n\n");
            NextCustodian(i + 1 == cards.size());
        }
    }

    void WriteCards(const std::vector<std::string> &cards, const std::string &caption) {
        const std::string n = std::to_string(cards.size());
        for (size_t i = 0; i < cards.size(); ++i) {
            console_->Expect(caption + "Now writing card " + std::to_string(i + 1) + "/" + n +
                             "...\n\n!! Please insert your smart card !!\n\n");
            EXPECT_EQ(Card("insert " + cards[i]), 0);
            AnswerSecret(*console_, "PIN: ", std::string(kPin) + "\n");
            Answer("Change label? (y/[n]): ", "\n");
            console_->Expect("!! Please remove your smart card !!\n\n");
            NextCustodian(i + 1 == cards.size());
        }
    }

    // "My Auth M of N" up to its actions, which must be `actions`.
    void OpenMyAuth(const std::string &state, const std::string &actions) {
        Choose("My Auth M of N", "clerk - My Auth M of N\n\n");
        console_->Expect("Partition M of N auth - yes\n   State              - " + state + "\n");
        Answer("Actions :\n" + actions + "\n 0 - Exit\nOption : ", "");
    }

    void OpenSmartCard(const std::string &item) {
        Choose("Smart-card...", "HSM - Smart-card\n\n");
        console_->Expect("Option : ");
        Choose(item, "HSM - Smart-card - " + item + "\n\n");
    }

    // The pause after an action, then back to the main menu through `menus` nested menus.
    void Leave(int menus) {
        Answer("Press ENTER key to continue...", "\n");
        for (int level = 0; level < menus; ++level)
            Answer("Option : ", "0\n");
        console_->Expect("Main Menu\n\n");
        console_->Expect("Option : ");
    }

  private:
    SimProcess sim_;
    TempDir reader_;
    QSessionHandle session_ = 0;
    QKeyHandle key_ = 0;
    std::unique_ptr<PtyDriver> console_;
    bool ready_ = false;
};

const std::vector<std::string> kFirstSet = {"c1", "c2", "c3"};
const std::vector<std::string> kSecondSet = {"c4", "c5", "c6", "c7", "c8"};
const char *const kAssociatedActions =
    " 1 - Reassociate (Set Permissions)\n 2 - Authorize\n 3 - Session Authorize\n 4 - Check\n"
    " 5 - Reset\n";
const char *const kAuthorizedActions =
    " 1 - Associate\n 2 - Reauthorize (Set Permissions)\n 3 - Session Authorize\n 4 - Check\n"
    " 5 - Reset\n";
const char *const kSessionActions = " 1 - Associate\n 2 - Authorize\n 3 - Check\n 4 - Reset\n";

TEST(MofNCeremony, CustodiansCreateAuthorizeCopyAndResetThroughTheConsole) {
    Ceremony ceremony;
    ASSERT_TRUE(ceremony.ready());

    // A 2-of-3 set on three blank cards.
    ceremony.OpenSmartCard("Create Partition Auth Seth");
    ceremony.Answer("An 'M of N' scheme will be generated.\n\nN [2-16] : ", "3\n");
    ceremony.Answer("M [2-3] : ", "2\n");
    ceremony.Answer("You will need 3 formatted cards. Continue? (y/[n]): ", "y\n");
    ceremony.Answer("\nGenerate SVMK v1? (y/[n]): ", "\n");
    ceremony.WriteCards(kFirstSet, "");
    ceremony.pty().Expect("\nCards generation operation completed successfully.\n\n");
    ceremony.Leave(1);

    // Associate with the export permission: nothing is granted yet.
    EXPECT_EQ(ceremony.Export(), Q_ERR_MOFN_NOT_AUTHORIZED);
    ceremony.OpenMyAuth("Initial", " 1 - Associate\n 2 - Check\n");
    ceremony.Answer("", "1\n");
    ceremony.pty().Expect("clerk - Associate\n\n");
    ceremony.Answer("Set Key Read : yes\nSet Key Export (y/[n]): ", "y\n");
    ceremony.Answer("Set Key Destroy (y/[n]): ", "\n");
    ceremony.Answer("Set Key Block (y/[n]): ", "\n");
    ceremony.Answer("Set Partition Remove (destroy all keys) (y/[n]): ", "\n");
    ceremony.pty().Expect("Key Read : yes\nKey Export : yes\nKey Destroy : no\n");
    ceremony.PresentCards(kFirstSet, "2");
    ceremony.pty().Expect(
        "   State              - Associated\n"
        "   Permissions        - Read, Export\n");
    ceremony.Leave(0);
    EXPECT_EQ(ceremony.Export(), Q_ERR_MOFN_NOT_AUTHORIZED);

    // Authorize, keeping the permissions offered: the export goes through.
    ceremony.OpenMyAuth("Associated", kAssociatedActions);
    ceremony.Answer("", "2\n");
    ceremony.Answer("Set Key Export ([y]/n): ", "\n");
    for (int question = 0; question < 3; ++question)
        ceremony.Answer("(y/[n]): ", "\n");
    ceremony.PresentCards(kFirstSet, "2");
    ceremony.pty().Expect("   State              - Authorized\n");
    ceremony.Leave(0);
    EXPECT_EQ(ceremony.Export(), Q_OK);

    // The same key onto a 3-of-5 set.
    ceremony.OpenSmartCard("Copy Set");
    ceremony.pty().Expect("Reading the source set\n\n");
    ceremony.PresentCards(kFirstSet, "2");
    ceremony.pty().Expect(
        "Writing the target set\n\nChoose the values for N and M of the set.\n\n");
    ceremony.Answer("N [2-16] : ", "5\n");
    ceremony.Answer("M [2-5] : ", "3\n");
    ceremony.Answer("You will need 5 formatted cards. Continue? (y/[n]): ", "y\n");
    ceremony.WriteCards(kSecondSet, "Writing the target set\n\n");
    ceremony.pty().Expect("\nCopy set operation completed successfully.\n\n");
    ceremony.Leave(1);

    // The new set authorizes the session; a check leaves that as it is; a reset ends all.
    ceremony.OpenMyAuth("Authorized", kAuthorizedActions);
    ceremony.Answer("", "3\n");
    ceremony.pty().Expect("clerk - Session Authorize\n\n");
    ceremony.pty().Expect("Key Read : yes\nKey Export : no\n");
    ceremony.PresentCards(kSecondSet, "3");
    ceremony.pty().Expect("   State              - Session Authorized\n");
    ceremony.Leave(0);
    ceremony.OpenMyAuth("Session Authorized", kSessionActions);
    ceremony.Answer("", "3\n");
    ceremony.PresentCards(kSecondSet, "3");
    ceremony.pty().Expect("clerk - Check\n\nCheck operation completed successfully.\n");
    ceremony.Leave(0);
    ceremony.OpenMyAuth("Session Authorized", kSessionActions);
    ceremony.Answer("", "4\n");
    ceremony.PresentCards(kSecondSet, "3");
    ceremony.pty().Expect(
        "   State              - Initial\n   Permissions        - None\n\n"
        "Reset operation completed successfully.\n");
    ceremony.Leave(0);
    EXPECT_EQ(ceremony.Export(), Q_ERR_MOFN_NOT_AUTHORIZED);
    ceremony.pty().Send("0\n");
    EXPECT_EQ(ceremony.pty().WaitExit(), 0);

    // The log names the cards of each step.
    std::string info;
    ASSERT_EQ(ceremony.Card("info c4", &info), 0);
    const size_t at = info.find("CSN         : ") + 14;
    const std::string serial = info.substr(at, 24);
    std::string log;
    ASSERT_EQ(
        Shell(std::string(ORVENA_SIMCTL_PATH) + " export-log --data " + ceremony.sim().dataDir(),
              &log),
        0);
    EXPECT_NE(log.find("M of N reset of partition clerk: cards " + serial + ", "),
              std::string::npos)
        << serial;
}

TEST(MofNCeremony, BadPinsAndARecordedShadowStopBeforeTheCardIsTouched) {
    Ceremony ceremony;
    ASSERT_TRUE(ceremony.ready());
    ASSERT_EQ(ceremony.Card("insert c1"), 0);
    for (const char *pin : {"1234567", "123456789", "1234567a"}) {
        ceremony.OpenSmartCard("Get Label");
        AnswerSecret(ceremony.pty(),
                     "!! Please insert your smart card !!\n\nPIN: ", std::string(pin) + "\n");
        ceremony.pty().Expect("\nInvalid PIN! Must be 8 digits.\n");
        ceremony.Leave(1);
    }
    std::string info;
    ceremony.Card("info c1", &info);
    EXPECT_NE(info.find("PIN tries   : 3\n"), std::string::npos) << info;

    // c2 already holds a shadow: the warning, and a refusal ends the copy.
    ceremony.OpenSmartCard("Create Server Master Key");
    ceremony.Answer("N [2-16] : ", "2\n");
    ceremony.Answer("M [2-2] : ", "2\n");
    ceremony.Answer("Continue? (y/[n]): ", "y\n");
    ceremony.Answer("Generate SVMK v1? (y/[n]): ", "y\n");
    ceremony.WriteCards({"c1", "c2"}, "");
    ceremony.Leave(1);
    ceremony.OpenSmartCard("Copy Card");
    ceremony.pty().Expect("Reading the source card\n\n");
    ASSERT_EQ(ceremony.Card("insert c1"), 0);
    AnswerSecret(ceremony.pty(), "PIN: ", std::string(kPin) + "\n");
    ceremony.Answer("Target copy information is about to be written. Continue? (y/[n]): ", "y\n");
    ceremony.pty().Expect("!! Please insert your smart card !!\n\n");
    ASSERT_EQ(ceremony.Card("insert c2"), 0);
    AnswerSecret(ceremony.pty(), "PIN: ", std::string(kPin) + "\n");
    ceremony.pty().Expect(
        "* the HSM. In case of doubt consult the technical support of of your "
        "vendor.  *\n");
    ceremony.Answer("Would you like to overwrite the current shadow of the smart card? (y/[n]): ",
                    "\n");
    ceremony.Leave(1);

    // A custodian who aborts ends the association before the HSM hears of it.
    ceremony.OpenMyAuth("Initial", " 1 - Associate\n 2 - Check\n");
    ceremony.Answer("", "1\n");
    for (int question = 0; question < 4; ++question)
        ceremony.Answer("(y/[n]): ", "\n");
    AnswerSecret(ceremony.pty(), "PIN: ", std::string(kPin) + "\n");
    ceremony.Answer("Actions :\n 1 - Next custodian\n 2 - Abort\nOption : ", "2\n");
    ceremony.Leave(0);
    ceremony.OpenMyAuth("Initial", " 1 - Associate\n 2 - Check\n");
    ceremony.Answer("", "0\n");
    ceremony.Leave(0);
    ceremony.pty().Send("0\n");
    EXPECT_EQ(ceremony.pty().WaitExit(), 0);
}

}  // namespace
