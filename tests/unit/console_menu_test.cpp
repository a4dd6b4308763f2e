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

    static int Build(Menu *menu, uint32_t acl, const char *header = "H") {
        return BuildMenu(menu, kMainMenu, acl, header);
    }

    // The main-menu item labelled `label`, as `acl` shows it.
    static MenuItem MainItem(const std::string &label, uint32_t acl = ~0u) {
        Menu menu;
        Build(&menu, acl);
        for (int column = 0; column < kMenuColumns; ++column) {
            for (int slot = 1; slot < menu.count[column]; ++slot) {
                if (menu.slots[column][slot].label == label) return menu.slots[column][slot];
            }
        }
        ADD_FAILURE() << "no main-menu item " << label;
        return {};
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
    EXPECT_EQ(Build(&menu, Q_ACL_OPERATOR), 27);
    EXPECT_FALSE(Shows(menu, 1, "My Auth M of N"));
    Build(&menu, Q_ACL_MOFN_LOCAL);
    EXPECT_TRUE(Shows(menu, 1, "My Auth M of N"));
    Build(&menu, Q_ACL_LIST_USERS);
    EXPECT_EQ(Labels(menu, 1),
              (std::vector<std::string>{"List", "Attributes", "Password Policy", "My Password"}));
    Build(&menu, Q_ACL_REMOTE_INFO | Q_ACL_BACKUP);
    EXPECT_EQ(Labels(menu, 2),
              (std::vector<std::string>{"Info", "Logs...", "Backup...", "Monitoring...",
                                        "Replication...", "IP Filter...", "Telemetry", "Policies",
                                        "SPB...", "EFT...", "Blockchain...", "Tests..."}));
}

TEST_F(ConsoleMenu, FeatureFlagsRevealTheirItems) {
    Menu menu;
    Build(&menu, Q_ACL_OPERATOR);
    EXPECT_FALSE(Shows(menu, 0, "List(Pkcs11)"));
    EXPECT_FALSE(Shows(menu, 2, "Safe Keeping..."));

    EnableEveryFlag();
    EXPECT_EQ(Build(&menu, Q_ACL_OPERATOR), 34);
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
    Build(&menu, Q_ACL_OPERATOR);
    EXPECT_FALSE(Shows(menu, 2, "Safe Keeping..."));

    const MenuDefinition &generate = *MainItem("Generate...").opens;
    BuildMenu(&menu, generate, 0, "H");
    EXPECT_EQ(Labels(menu, 1), (std::vector<std::string>{"RSA", "ECC", "ECX"}));
    EXPECT_EQ(Labels(menu, 2), (std::vector<std::string>{"MAP", "PKCS11 MAP"}));
    gState = ProcessState{};
    BuildMenu(&menu, generate, 0, "H");
    EXPECT_EQ(Labels(menu, 1), (std::vector<std::string>{"RSA", "ECC"}));
    EXPECT_EQ(Labels(menu, 2), (std::vector<std::string>{"MAP"}));
}

TEST_F(ConsoleMenu, PlainUserMainMenuLayoutAndNumbering) {
    Menu menu;
    EXPECT_EQ(Build(&menu, 0, "HEADER"), 13);
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
    Build(&menu, ~0u);
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
    Build(&menu, 0, "HEADER");
    const MenuItem *password = MenuItemForChoice(menu, 19);
    EXPECT_STREQ(password->subtitle, "Users");
    EXPECT_EQ(password->acl, 0u);
    const MenuItem *generate = MenuItemForChoice(menu, 1);
    EXPECT_EQ(generate->type, kMenuNested);
    EXPECT_STREQ(generate->subtitle, "Keys/Objects - Generate");

    Menu nested;
    BuildMenu(&nested, *generate->opens, generate->acl, generate->header);
    EXPECT_STREQ(MenuItemForChoice(nested, 4)->label, "AES");
    EXPECT_STREQ(MenuItemForChoice(nested, 4)->subtitle, "Keys/Objects - Generate");

    // Two levels down, items still belong to the screen that opened them.
    BuildMenu(&nested, *MainItem("Import...").opens, 0, "H");
    const MenuItem *symmetric = MenuItemForChoice(nested, 1);
    EXPECT_STREQ(symmetric->subtitle, "Keys/Objects - Import - Symmetric Keys");
    BuildMenu(&nested, *symmetric->opens, 0, "H");
    EXPECT_STREQ(MenuItemForChoice(nested, 2)->subtitle, "Keys/Objects - Import - Symmetric Keys");

    TypedTerminal terminal;
    EXPECT_EQ(NotAvailableAction(0, *password), 0);
    EXPECT_EQ(terminal->out,
              "<clear>HEADER\n\nUsers - My Password\n\n"
              "This function is not available in this version.\n");
}

TEST_F(ConsoleMenu, NestedMenusFilterByAclUnderAnEmptyColumnTitle) {
    gState.accessTokensMenu = true;
    struct Case {
        const char *opener;
        uint32_t acl;
        std::vector<std::string> labels;
    };
    const Case cases[] = {
        {"Access Tokens...", 0, {"Issue", "Revoke", "Details", "List"}},
        {"Access Tokens...",
         Q_ACL_REMOTE_INFO,
         {"Info", "Issue", "Revoke", "Details", "List", "Run GC"}},
        {"Logs...", Q_ACL_OPERATOR, {"Retrieve", "Clear", "Follow"}},
        {"Backup...", Q_ACL_REMOTE_INFO, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.opener);
        Menu menu;
        EXPECT_EQ(BuildMenu(&menu, *MainItem(c.opener).opens, c.acl, "H"),
                  static_cast<int>(c.labels.size()));
        EXPECT_EQ(Labels(menu, 0), c.labels);
        EXPECT_EQ(menu.slots[0][0].type, kMenuColumnTitle);
        EXPECT_STREQ(menu.slots[0][0].label, "");
    }
}

TEST_F(ConsoleMenu, ChosenMenusRunUnderTheirOwnTitleForTheSameUser) {
    // As actions rather than nested menus, the main menu pauses once they are left.
    for (const char *label : {"Replication...", "IP Filter..."}) {
        EXPECT_EQ(MainItem(label).type, kMenuAction) << label;
    }
    const MenuItem replication = MainItem("Replication...");
    {
        TypedTerminal terminal("\n");
        EXPECT_EQ(replication.handler(0, replication), 0);
        EXPECT_EQ(terminal->out.find("<clear>H\n\nHSM - Replication\n\n"), 0u);
        EXPECT_NE(terminal->out.find(" 2 - Nodes "), std::string::npos);
        EXPECT_NE(terminal->out.find("\n 0 - Main Menu\n\nOption : "), std::string::npos);
        EXPECT_EQ(terminal->Remaining(), "");
    }
    const MenuItem logs = MainItem("Logs...", Q_ACL_REMOTE_INFO);
    {
        TypedTerminal terminal("\n");
        EXPECT_EQ(logs.handler(0, logs), 0);
        EXPECT_EQ(terminal->out.find("<clear>H\n\nHSM - Logs\n\n"), 0u);
        EXPECT_NE(terminal->out.find(" 3 - Follow "), std::string::npos);
    }
}

TEST_F(ConsoleMenu, LoopLeavesOnEmptyOrNonNumericReplyWithoutTouchingTheSession) {
    Menu menu;
    Build(&menu, 0);
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
    Build(&menu, 0);
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
