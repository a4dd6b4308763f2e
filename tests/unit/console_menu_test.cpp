// Menu building, visibility, layout and the parts of the loop that need no device.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/process_state.h"
#include "console/menu.h"
#include "console/menu_tree.h"
#include "typed_terminal.h"

namespace {

class ConsoleMenu : public ::testing::Test {
  protected:
    void SetUp() override {
        saved_ = gState;
        gState = ProcessState{};
    }
    void TearDown() override { gState = saved_; }

    static void EnableEveryFlag() {
        gState.legacyOptions = true;
        gState.fwAtLeast_3_9_0_2 = true;
        gState.fwAtLeast_4_0_0_0 = true;
        gState.fwAtLeast_5_0_11_0 = true;
        gState.accessTokensMenu = true;
        gState.hardwareLogs = true;
        gState.smartCardLibLoaded = true;
        gState.firmwareVersion = 5'000'035'000ULL;
    }

    // Labels of a column's items (title excluded).
    static std::vector<std::string> Labels(const Menu &menu, int column) {
        std::vector<std::string> labels;
        for (int slot = 1; slot < menu.count[column]; ++slot) {
            labels.push_back(menu.slots[column][slot].label);
        }
        return labels;
    }

    static bool Shows(const Menu &menu, int column, const std::string &label) {
        for (const std::string &shown : Labels(menu, column)) {
            if (shown == label) return true;
        }
        return false;
    }

  private:
    ProcessState saved_;
};

TEST_F(ConsoleMenu, VisibilityByAclBitAndOperatorOverride) {
    const uint32_t either = Q_ACL_LIST_USERS | Q_ACL_FIRMWARE;
    EXPECT_TRUE(IsItemVisible(0, 0, true));
    EXPECT_TRUE(IsItemVisible(Q_ACL_LIST_USERS, either, true));
    EXPECT_TRUE(IsItemVisible(Q_ACL_FIRMWARE, either, false));
    EXPECT_FALSE(IsItemVisible(Q_ACL_CREATE_USERS, either, true));
    EXPECT_TRUE(IsItemVisible(Q_ACL_OPERATOR, Q_ACL_MOFN_LOCAL, true));
    EXPECT_FALSE(IsItemVisible(Q_ACL_OPERATOR, Q_ACL_MOFN_LOCAL, false));
    EXPECT_FALSE(IsItemVisible(0, Q_ACL_REMOTE_INFO, true));

    Menu menu;
    EXPECT_EQ(BuildMainMenu(&menu, Q_ACL_OPERATOR, "H"), 27);
    EXPECT_FALSE(Shows(menu, 1, "My Auth M of N"));
    BuildMainMenu(&menu, Q_ACL_MOFN_LOCAL, "H");
    EXPECT_TRUE(Shows(menu, 1, "My Auth M of N"));
    BuildMainMenu(&menu, Q_ACL_LIST_USERS, "H");
    EXPECT_EQ(Labels(menu, 1),
              (std::vector<std::string>{"List", "Attributes", "Password Policy", "My Password"}));
    BuildMainMenu(&menu, Q_ACL_REMOTE_INFO | Q_ACL_BACKUP, "H");
    EXPECT_EQ(Labels(menu, 2),
              (std::vector<std::string>{"Info", "Logs...", "Backup...", "Monitoring...",
                                        "Replication...", "IP Filter...", "Telemetry", "Policies",
                                        "SPB...", "EFT...", "Blockchain...", "Tests..."}));
}

TEST_F(ConsoleMenu, FeatureFlagsRevealTheirItems) {
    Menu menu;
    BuildMainMenu(&menu, Q_ACL_OPERATOR, "H");
    EXPECT_FALSE(Shows(menu, 0, "List(Pkcs11)"));
    EXPECT_FALSE(Shows(menu, 2, "Safe Keeping..."));

    EnableEveryFlag();
    EXPECT_EQ(BuildMainMenu(&menu, Q_ACL_OPERATOR, "H"), 34);
    for (const char *label : {"List(Pkcs11)", "Key Backup..."})
        EXPECT_TRUE(Shows(menu, 0, label));
    EXPECT_TRUE(Shows(menu, 1, "Access Tokens..."));
    for (const char *label : {"Hardware logs", "Tools...", "Safe Keeping...", "Smart-card..."}) {
        EXPECT_TRUE(Shows(menu, 2, label)) << label;
    }
    // The HSM column is full: its last item takes the 18th slot, reachable as 51 though
    // never printed.
    EXPECT_EQ(menu.count[2], kMenuSlots);
    ASSERT_NE(MenuItemForChoice(menu, 51), nullptr);
    EXPECT_STREQ(MenuItemForChoice(menu, 51)->label, "Tests...");

    gState.firmwareVersion = 5'000'034'099ULL;
    BuildMainMenu(&menu, Q_ACL_OPERATOR, "H");
    EXPECT_FALSE(Shows(menu, 2, "Safe Keeping..."));

    BuildGenerateMenu(&menu, 0, "H");
    EXPECT_EQ(Labels(menu, 1), (std::vector<std::string>{"RSA", "ECC", "ECX"}));
    EXPECT_EQ(Labels(menu, 2), (std::vector<std::string>{"MAP", "PKCS11 MAP"}));
    gState = ProcessState{};
    BuildGenerateMenu(&menu, 0, "H");
    EXPECT_EQ(Labels(menu, 1), (std::vector<std::string>{"RSA", "ECC"}));
    EXPECT_EQ(Labels(menu, 2), (std::vector<std::string>{"MAP"}));
}

TEST_F(ConsoleMenu, PlainUserMainMenuLayoutAndNumbering) {
    Menu menu;
    EXPECT_EQ(BuildMainMenu(&menu, 0, "HEADER"), 13);
    TypedTerminal terminal;
    PrintMenu(menu, "Main Menu", "HEADER", true);
    std::string blankRow(78, ' ');
    std::string expected =
        "<clear>HEADER\n\nMain Menu\n\n"
        "Keys/Objects              Users                        HSM                    \n\n"
        " 1 - Generate...          18 - Attributes              35 - SPB...            \n"
        " 2 - Remove               19 - My Password             36 - EFT...            \n"
        " 3 - Attributes                                        37 - Blockchain...     \n"
        " 4 - Import...                                         38 - Tests...          \n"
        " 5 - Export...                                                                \n"
        " 6 - List                                                                     \n"
        " 7 - Permissions...                                                           \n";
    for (int row = 8; row < 17; ++row)
        expected += blankRow + "\n";
    expected += "\n 0 - Exit\n\nOption : ";
    EXPECT_EQ(terminal->out, expected);

    EXPECT_STREQ(MenuItemForChoice(menu, 19)->label, "My Password");
    EXPECT_STREQ(MenuItemForChoice(menu, 38)->label, "Tests...");
    EXPECT_EQ(MenuItemForChoice(menu, 8), nullptr);
    EXPECT_EQ(MenuItemForChoice(menu, 17), nullptr);
    EXPECT_EQ(MenuItemForChoice(menu, 20), nullptr);
    EXPECT_EQ(MenuItemForChoice(menu, 34), nullptr);
}

TEST_F(ConsoleMenu, OperatorMainMenuNumbersEveryColumnFromItsBase) {
    Menu menu;
    BuildMainMenu(&menu, ~0u, "H");
    EXPECT_STREQ(MenuItemForChoice(menu, 1)->label, "Generate...");
    EXPECT_STREQ(MenuItemForChoice(menu, 7)->label, "Permissions...");
    EXPECT_STREQ(MenuItemForChoice(menu, 18)->label, "Create");
    EXPECT_STREQ(MenuItemForChoice(menu, 25)->label, "My Auth M of N");
    EXPECT_STREQ(MenuItemForChoice(menu, 35)->label, "Info");
    EXPECT_STREQ(MenuItemForChoice(menu, 47)->label, "Tests...");
    EXPECT_EQ(MenuItemForChoice(menu, 48), nullptr);
}

TEST_F(ConsoleMenu, ChoicesParseDifferentlyInMainAndNestedMenus) {
    struct Case {
        const char *line;
        int main;
        int nested;
    };
    const Case cases[] = {{"\n", 0, 0},    {"", 0, 0},       {"12\n", 12, 12}, {"abc\n", -1, 0},
                          {"5 \n", -1, 0}, {"52\n", -1, -1}, {"51\n", 51, 51}, {"007\n", 7, 7}};
    for (const Case &c : cases) {
        EXPECT_EQ(ParseMenuChoice(c.line, true), c.main) << c.line;
        EXPECT_EQ(ParseMenuChoice(c.line, false), c.nested) << c.line;
    }
}

TEST_F(ConsoleMenu, ColumnKeepsSeventeenItemsAndDropsTheRest) {
    Menu menu = {};
    int count = 0;
    EXPECT_TRUE(
        AddMenuItem(menu.slots[0], &count, 0, 0, "", "H", "T", kMenuColumnTitle, nullptr, true));
    for (int i = 1; i <= 18; ++i) {
        bool added = AddMenuItem(menu.slots[0], &count, 0, 0, std::to_string(i).c_str(), "H", "T",
                                 kMenuAction, NotAvailableAction, true);
        EXPECT_EQ(added, i <= 17) << i;
    }
    EXPECT_EQ(count, kMenuSlots);
    EXPECT_STREQ(menu.slots[0][17].label, "17");
}

TEST_F(ConsoleMenu, SubtitlesNameTheScreenAnItemBelongsToOrOpens) {
    Menu menu;
    BuildMainMenu(&menu, 0, "HEADER");
    const MenuItem *password = MenuItemForChoice(menu, 19);
    EXPECT_STREQ(password->subtitle, "Users");
    EXPECT_EQ(password->acl, 0u);
    const MenuItem *generate = MenuItemForChoice(menu, 1);
    EXPECT_EQ(generate->type, kMenuNested);
    EXPECT_STREQ(generate->subtitle, "Keys/Objects - Generate");

    Menu nested;
    generate->builder(&nested, generate->acl, generate->header);
    EXPECT_STREQ(MenuItemForChoice(nested, 4)->label, "AES");
    EXPECT_STREQ(MenuItemForChoice(nested, 4)->subtitle, "Keys/Objects - Generate");

    TypedTerminal terminal;
    EXPECT_EQ(NotAvailableAction(0, *password), 0);
    EXPECT_EQ(terminal->out,
              "<clear>HEADER\n\nUsers - My Password\n\n"
              "This function is not available in this version.\n");
}

TEST_F(ConsoleMenu, NestedMenusFilterByAclUnderAnEmptyColumnTitle) {
    struct Case {
        MenuBuilder build;
        uint32_t acl;
        std::vector<std::string> labels;
    };
    const Case cases[] = {
        {BuildAccessTokensMenu, 0, {"Issue", "Revoke", "Details", "List"}},
        {BuildAccessTokensMenu,
         Q_ACL_REMOTE_INFO,
         {"Info", "Issue", "Revoke", "Details", "List", "Run GC"}},
        {BuildLogsMenu, Q_ACL_OPERATOR, {"Retrieve", "Clear", "Follow"}},
        {BuildBackupMenu, Q_ACL_REMOTE_INFO, {}},
    };
    for (const Case &c : cases) {
        Menu menu;
        EXPECT_EQ(c.build(&menu, c.acl, "H"), static_cast<int>(c.labels.size()));
        EXPECT_EQ(Labels(menu, 0), c.labels);
        EXPECT_EQ(menu.slots[0][0].type, kMenuColumnTitle);
        EXPECT_STREQ(menu.slots[0][0].label, "");
    }
}

TEST_F(ConsoleMenu, LoopLeavesOnEmptyOrNonNumericReplyWithoutTouchingTheSession) {
    Menu menu;
    BuildMainMenu(&menu, 0, "H");
    {
        // Non-digits are invalid in the main menu, then the pause, then ENTER exits.
        TypedTerminal terminal("abc\n\n\n");
        RunMenu(0, menu, "Main Menu", "H", true);
        EXPECT_NE(terminal->out.find("\n\nInvalid option.\n\nPress ENTER key to continue...\n\n"),
                  std::string::npos);
        EXPECT_EQ(terminal->Remaining(), "");
    }
    {
        TypedTerminal terminal("abc\n");
        RunMenu(0, menu, "HSM - EFT", "H", false);
        EXPECT_EQ(terminal->out.find("Invalid option."), std::string::npos);
        EXPECT_NE(terminal->out.find("\n 0 - Main Menu\n\nOption : "), std::string::npos);
    }
}

TEST_F(ConsoleMenu, DeadSessionEndsTheProcessBeforeDispatch) {
    Menu menu;
    BuildMainMenu(&menu, 0, "H");
    // No session was ever opened, so the liveness check fails before any item runs.
    EXPECT_EXIT(
        {
            TypedTerminal terminal("19\n");
            terminal->copyErrToProcess = true;
            RunMenu(0, menu, "Main Menu", "H", true);
        },
        ::testing::ExitedWithCode(255), "\nError session expired\\. .* \\([0-9]+\\)\n");
}

}  // namespace
