// The dialogues of "HSM - Backup": the password's minimum, the overwrite question, and a
// restore (never confirmed) that leaves the HSM waiting for its restart. Old firmware's
// minimum is in old_firmware_test.cpp.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "console_e2e_support.h"

namespace {

constexpr const char *kBackupMenu = "37\n";
constexpr const char *kTenChars = "abcdefghij";

void ChooseBackupItem(PtyDriver &console, const char *item, const std::string &heading) {
    ChooseSubmenuItem(console, kBackupMenu, item, heading);
}

// "Backup" from its password, confirmed, to the file's name.
void BackUpWithTenCharacters(PtyDriver &console, const std::string &file) {
    AnswerSecret(console, "Password: ", std::string(kTenChars) + "\n");
    AnswerSecret(console, "Confirm password: ", std::string(kTenChars) + "\n");
    Answer(console, "Local file to save backup: ", file + "\n");
}

TEST(HsmBackup, BackupWithTheOverwriteQuestionThenRestoreUntilTheRestart) {
    SimProcess sim;
    TempDir dir;
    const std::string file = dir.Path("hsm.bak");
    std::fclose(std::fopen(file.c_str(), "w"));
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    // Ten characters are enough from firmware 3.9.0.2 on; five are asked again.
    ChooseBackupItem(console, "1\n", "HSM - Backup - Backup");
    console.Expect("Inform password to protect backup file (8 to 32 characters): \n");
    AnswerSecret(console, "Password: ", "short\n");
    BackUpWithTenCharacters(console, file);
    Answer(console, "File already exists, overwrite (y/[n]): ", "\n");
    console.Expect("Operation cancelled!");
    BackToMainMenu(console);
    EXPECT_EQ(ReadFileBytes(file), "");

    ChooseBackupItem(console, "1\n", "HSM - Backup - Backup");
    BackUpWithTenCharacters(console, file);
    Answer(console, "File already exists, overwrite (y/[n]): ", "y\n");
    console.Expect("\nBackup created successfully.\n");
    BackToMainMenu(console);
    EXPECT_EQ(ReadFileBytes(file).substr(0, 8), "ORVSBKUP");

    ChooseBackupItem(console, "2\n", "HSM - Backup - Restore");
    console.Expect("The HSM database will be fully overwritten.");
    console.Expect("After the restore operation the HSM MUST be restarted.");
    Answer(console, "Continue backup restoring (y/[n]): ", "y\n");
    Answer(console, "Local file to read backup: ", dir.Path("missing") + "\n");
    console.Expect("Error opening the file.");
    BackToMainMenu(console);

    ChooseBackupItem(console, "2\n", "HSM - Backup - Restore");
    Answer(console, "Continue backup restoring (y/[n]): ", "y\n");
    Answer(console, "Local file to read backup: ", file + "\n");
    Answer(console, "Restore network information (y/[n]): ", "\n");
    AnswerSecret(console, "Password: ", std::string(kTenChars) + "\n");
    console.Expect(
        "\n\nBackup restored successfully.The HSM may be in an inconsistent status, you need to "
        "restart the HSM before use.\n");
    const std::string restore = console.Output().substr(console.Output().rfind("Restore network"));
    EXPECT_EQ(restore.find("Confirm password"), std::string::npos);
    BackToMainMenu(console);

    // The HSM now refuses work until it is restarted.
    ChooseBackupItem(console, "1\n", "HSM - Backup - Backup");
    BackUpWithTenCharacters(console, dir.Path("second.bak"));
    console.Expect("Error creating backup. ");
    console.Expect("(1150)");
    BackToMainMenu(console);
    ExitFromMainMenu(console);
}

}  // namespace
