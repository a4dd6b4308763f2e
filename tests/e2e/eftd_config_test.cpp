// "HSM - EFT - EFTd Config": what partition eftd0's user and an operator see and change.

#include <gtest/gtest.h>

#include <string>

#include "keys_dialogue.h"

namespace {

using keys_e2e::ItemNumber;

constexpr const char *kPassword = "Passw0rd!x";
constexpr const char *kHeading = "HSM - EFT - EFTd Config\n\n";
constexpr const char *kCompleted = "\n\nEFTd configuration completed successfully.\n";

std::string Screen(const char *authorized, int headerLength, int pinLength) {
    return std::string("        Partition eftd0 : ") + authorized +
           "\n  Message header length : " + std::to_string(headerLength) +
           "\n             PIN length : " + std::to_string(pinLength) + "\n\n";
}

// A console of `user` at the EFTd Config screen's option prompt.
class EftdConsole {
  public:
    EftdConsole(const SimProcess &sim, const std::string &user, const std::string &password)
        : pty_(TARSEL_PATH, ConsoleArgs(sim, user)) {
        ready_ = LogIn(pty_, password);
    }

    bool ready() const { return ready_; }
    PtyDriver &pty() { return pty_; }

    // From the main menu to the EFT menu; true when it offers "EFTd Config".
    bool OpenEftMenu() {
        pty_.Send(ItemNumber(pty_.Output(), "EFT...") + "\n");
        pty_.Expect("HSM - EFT\n\n");
        pty_.Expect("Option : ");
        const std::string output = pty_.Output();
        return output.find("EFTd Config", output.rfind("HSM - EFT\n\n")) != std::string::npos;
    }
    // From the EFT menu into the screen, up to its option prompt after `actions`.
    void OpenScreen(const std::string &shown, const std::string &actions) {
        pty_.Send(ItemNumber(pty_.Output(), "EFTd Config") + "\n");
        pty_.Expect(kHeading);
        Expect(shown + actions + "Option : ");
    }
    void Expect(const std::string &text) { EXPECT_TRUE(pty_.Expect(text)) << text; }
    void Answer(const std::string &prompt, const std::string &reply) {
        Expect(prompt);
        pty_.Send(reply);
    }
    // After a pass that returned 0: the pause, then the screen afresh.
    void NextPass(const std::string &shown, const std::string &actions) {
        Answer("\nPress ENTER key to continue...\n\n", "\n");
        Expect(kHeading);
        Expect(shown + actions + "Option : ");
    }
    // After the screen was left: the menu's pause, back to the EFT menu.
    void BackToEftMenu() {
        Answer("Press ENTER key to continue...", "\n");
        Expect("HSM - EFT\n\n");
        Expect("Option : ");
    }
    void Exit() {
        pty_.Send("0\n");
        Expect("Option : ");
        pty_.Send("0\n");
        EXPECT_EQ(pty_.WaitExit(), 0);
    }

  private:
    PtyDriver pty_;
    bool ready_ = false;
};

constexpr const char *kOperatorActions = "  1 - Edit\n  2 - Reset\n  3 - Exit\n";

TEST(EftdConfig, Eftd0AuthorizesOperatorEditsWithinRangesAndResets) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "eftd0", kPassword, "--acl", "0"}), 0);
    ASSERT_EQ(sim.Simctl({"add-user", "eftd0ops", kPassword, "--acl", "128"}), 0);
    ASSERT_EQ(sim.Simctl({"add-user", "clerk", kPassword, "--acl", "0"}), 0);

    {  // Neither eftd0 nor an operator: no such item.
        EftdConsole clerk(sim, "clerk", kPassword);
        ASSERT_TRUE(clerk.ready());
        EXPECT_FALSE(clerk.OpenEftMenu());
        clerk.Exit();
    }
    {  // Partition eftd0's user: authorize, then the item turns into deauthorize.
        EftdConsole eftd(sim, "eftd0", kPassword);
        ASSERT_TRUE(eftd.ready());
        ASSERT_TRUE(eftd.OpenEftMenu());
        eftd.OpenScreen(Screen("unauthorized", 4, 6),
                        "  1 - Authorize Host Commands\n  2 - Exit\n");
        eftd.pty().Send("1\n");
        eftd.Answer("\nDo you want enable partition eftd0 (y/[n])? ", "y\n");
        eftd.Expect("\nPartition eftd0 is now authorized.\n\n");
        eftd.NextPass(Screen("authorized", 4, 6), "  1 - Deauthorize Host Commands\n  2 - Exit\n");
        eftd.pty().Send("1\n");
        eftd.Answer("Do you want disable partition eftd0 (y/[n])? ", "\n");
        eftd.Expect("\nOperation cancelled!\n");
        eftd.BackToEftMenu();
        eftd.Exit();
    }
    {  // An operator: ENTER at both prompts, then each bound refused, then values kept.
        EftdConsole op(sim, "master", sim.initPassword());
        ASSERT_TRUE(op.ready());
        ASSERT_TRUE(op.OpenEftMenu());
        op.OpenScreen(Screen("authorized", 4, 6), kOperatorActions);
        op.pty().Send("1\n");
        op.Expect("\nPress ENTER to skip option.\n\n");
        op.Answer("Message header length (int 1-255) [4]: ", "\n");
        op.Answer("PIN length (int 5-13) [6]: ", "\n");
        op.Expect(kCompleted);
        op.NextPass(Screen("authorized", 4, 6), kOperatorActions);

        for (const char *header : {"0\n", "256\n"}) {
            op.pty().Send("1\n");
            op.Answer("Message header length (int 1-255) [4]: ", header);
            op.Expect("\nOperation cancelled! Invalid length.\n");
            op.BackToEftMenu();
            op.OpenScreen(Screen("authorized", 4, 6), kOperatorActions);
        }
        int header = 4;
        for (const char *pin : {"4\n", "14\n"}) {
            // The header length is sent before the PIN length is refused, and stays.
            op.pty().Send("1\n");
            op.Answer("Message header length (int 1-255) [" + std::to_string(header) + "]: ",
                      "255\n");
            header = 255;
            op.Answer("PIN length (int 5-13) [6]: ", pin);
            op.Expect("\nOperation cancelled! Invalid length.\n");
            op.BackToEftMenu();
            op.OpenScreen(Screen("authorized", 255, 6), kOperatorActions);
        }
        op.pty().Send("1\n");
        op.Answer("Message header length (int 1-255) [255]: ", "1\n");
        op.Answer("PIN length (int 5-13) [6]: ", "13\n");
        op.Expect(kCompleted);
        op.NextPass(Screen("authorized", 1, 13), kOperatorActions);

        op.pty().Send("2\n");
        op.Answer("\nReset configuration (y/[n])? ", "y\n");
        op.Expect(kCompleted);
        op.NextPass(Screen("unauthorized", 4, 6), kOperatorActions);
        op.pty().Send("3\n");
        op.BackToEftMenu();
        op.Exit();
    }
    {  // A user named like the partition who is an operator sees every item, in order; the
       // HSM refuses its authorization.
        EftdConsole both(sim, "eftd0ops", kPassword);
        ASSERT_TRUE(both.ready());
        ASSERT_TRUE(both.OpenEftMenu());
        both.OpenScreen(Screen("unauthorized", 4, 6),
                        "  1 - Authorize Host Commands\n  2 - Edit\n  3 - Reset\n  4 - Exit\n");
        both.pty().Send("1\n");
        both.Answer("Do you want enable partition eftd0 (y/[n])? ", "y\n");
        both.Expect("\nError altering EFTd configuration. ");
        both.BackToEftMenu();
        both.Exit();
    }
}

}  // namespace
