// What the console leaves out or asks differently on an HSM of old firmware: no zip question
// for the log, sixteen characters for a backup's password, no object counts in the user list;
// and the hardware logs, which keep the package as the HSM made it.
#include <gtest/gtest.h>

#include <string>

#include "console_e2e_support.h"
#include "shell.h"
#include "users_test_steps.h"

namespace {

using users_steps::Choose;
using users_steps::Continue;

constexpr const char *kLogsMenu = "36\n";
constexpr const char *kBackupMenu = "37\n";
constexpr const char *kHardwareLogs = "44\n";

TEST(OldFirmware, NoZipQuestionSixteenCharacterBackupsNoObjectCountsAndHardwareLogs) {
    SimProcess sim(SimProcess::Options{.extraArgs = {"--firmware", "3.7.2.11"}});
    TempDir dir;
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master", {"-hwlog"}));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    ChooseSubmenuItem(console, kLogsMenu, "1\n", "HSM - Logs - Retrieve");
    Answer(console, "Retrieve logs (y/[n]): ", "y\n");
    Answer(console, "Filter interval (y/[n]): ", "\n");
    Answer(console, "Local file to save logs: ", dir.Path("plain.txt") + "\n");
    console.Expect("Logs successfully retrieved.");
    EXPECT_EQ(console.Output().find("Zip log"), std::string::npos);
    BackToMainMenu(console);

    ChooseSubmenuItem(console, kBackupMenu, "1\n", "HSM - Backup - Backup");
    console.Expect("Inform password to protect backup file (16 to 32 characters): \n");
    AnswerSecret(console, "Password: ", "abcdefghij\n");
    AnswerSecret(console, "Password: ", "abcdefghijklmnop\n");
    AnswerSecret(console, "Confirm password: ", "abcdefghijklmnoq\n");
    console.Expect("Password differs from confirmation!");
    BackToMainMenu(console);

    Choose(console, users_steps::kList, "Users - List");
    console.Expect(
        "master                          Operator                                      -\n");
    console.Expect("\nTotal of users: 1\n ");
    Continue(console);

    const std::string package = dir.Path("package.zip");
    Choose(console, kHardwareLogs, "HSM - Hardware logs");
    Answer(console, "Retrieve logs (y/[n]): ", "y\n");
    Answer(console, "Local file to save zipped logs: ", package + "\n");
    console.Expect("Logs successfully retrieved.");
    Continue(console);
    ExitFromMainMenu(console);
    std::string listing;
    EXPECT_EQ(Shell("unzip -Z1 " + package, &listing), 0);
    EXPECT_EQ(listing, "vlx_appliance.log\nvlx_hardware.log\n");
}

}  // namespace
