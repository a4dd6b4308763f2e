// "Firmware Update" (a package sent after its description failed, then one applied at the
// restart the banner shows), "RNG" with its bounds, and the "Key Backup" dialogues.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>

#include "keys_dialogue.h"

namespace {

using keys_e2e::KeysConsole;

// "Firmware Update" from the main menu up to the package's path.
void StartFirmwareUpdate(KeysConsole &console, const std::string &path) {
    console.Choose("Firmware Update", "HSM - Firmware Update\n\n");
    console.Expect("of your vendor.");
    console.Answer("Continue updating firmware (y/[n]): ", "y\n");
    console.Answer("Local file to read upack: ", path + "\n");
}

// One console walks them all; the firmware update comes last, as it ends with a restart.
TEST(HsmUtilities, RngBoundsKeyBackupQuestionsAndAFirmwarePackageThatRunsAfterTheRestart) {
    KeysConsole console;
    ASSERT_TRUE(console.ready());
    TempDir dir;
    console.Open("Tests...", "HSM - Tests\n\n");
    console.Choose("RNG", "HSM - Tests - RNG\n\n");
    for (const char *count : {"0\n", "1025\n", "1024\n"})
        console.Answer("Buffer size (bytes, max 1024) : ", count);
    console.Expect("Press ENTER key to continue...");
    const std::string screen = console.pty().Output();
    EXPECT_TRUE(std::regex_search(screen, std::regex("\n\n[0-9A-F]{2048}\n"))) << screen;
    console.Send("\n");
    console.Expect("Option : ");
    console.Choose("RNG", "HSM - Tests - RNG\n\n");
    console.Answer("Buffer size (bytes, max 1024) : ", "\n");
    console.Expect("\nOperation cancelled!\n");
    console.Leave(1);

    // A key backup asks before overwriting a file, and a restore needs a free name.
    ASSERT_EQ(console.sim().Simctl({"add-keys", "master", "1", "--prefix", "k"}), 0);
    const std::string path = dir.Path("k0.bak");
    std::ofstream(path) << "older";

    console.Open("Key Backup...", "Keys/Objects - Key Backup\n\n");
    for (const char *overwrite : {"n\n", "y\n"}) {
        console.Choose("Backup", "Keys/Objects - Key Backup - Backup\n\n");
        console.Answer("Name (HSM) : ", "k0\n");
        console.Answer("Local file to save backup: ", path + "\n");
        console.Answer("File already exists, overwrite (y/[n]): ", overwrite);
        console.Expect(overwrite[0] == 'n' ? "\nOperation cancelled!\n"
                                           : "\nk0 successfully backed up.\n\n");
        console.Answer("Press ENTER key to continue...", "\n");
        console.Expect("Option : ");
    }
    EXPECT_EQ(ReadFileBytes(path).substr(0, 4), "QOBK");

    for (const char *name : {"k0\n", "k1\n"}) {
        console.Choose("Restore", "Keys/Objects - Key Backup - Restore\n\n");
        console.Answer("Name (HSM) : ", name);
        console.Answer("Local file to read backup: ", path + "\n");
        console.Expect(name[1] == '0'
                           ? "\nError restoring key backup. Object already exists. (1025)\n"
                           : "\nk1 successfully restored.\n\n");
        console.Answer("Press ENTER key to continue...", "\n");
        console.Expect("Option : ");
    }
    console.Send("0\n");
    console.Expect("Main Menu\n\n");
    console.Expect("Option : ");
    EXPECT_NE(console.List().find(keys_e2e::ListLine("k1", "aes-256", false, false)),
              std::string::npos);

    // A package is sent even when it cannot be described; a good one runs after the restart.
    const std::string garbage = dir.Path("garbage.upk");
    std::ofstream(garbage) << "no package";
    StartFirmwareUpdate(console, garbage);
    console.Expect("\nError retrieving upack info. Not a firmware update package. (1130)\n");
    console.Answer("Confirm sending upack to HSM (y/[n]): ", "y\n");
    console.Expect("\nError sending upack. Not a firmware update package. (1130)\n");
    console.Leave(0);

    const std::string good = dir.Path("good.upk");
    ASSERT_EQ(console.sim().Simctl({"make-upack", "--version", "5.2.0.0", "--description",
                                    "Spring release", "--out", good}),
              0);
    StartFirmwareUpdate(console, good);
    console.Expect("\nUpack size:  " + std::to_string(ReadFileBytes(good).size()) + " bytes\n" +
                   "Upack description:  'Spring release'.\n");
    console.Answer("Confirm sending upack to HSM (y/[n]): ", "y\n");
    console.Expect(
        "\nUpack successfully sent. This upack will be processed by the HSM in the "
        "next restart.\n\n");
    console.Leave(0);
    EXPECT_EQ(console.Exit(), 0);

    console.sim().Restart();
    PtyDriver again(TARSEL_PATH, ConsoleArgs(console.sim(), "master"));
    ASSERT_TRUE(LogIn(again, console.sim().initPassword()));
    EXPECT_NE(again.Output().find("Engine 5.2.0.0-orvena-sim"), std::string::npos)
        << again.Output();
    ExitFromMainMenu(again);
}

}  // namespace
