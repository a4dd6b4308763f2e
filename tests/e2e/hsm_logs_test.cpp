// The screens of the HSM log: "Retrieve" plain, zipped and kept, zipped and unpacked, and with
// a chosen range; "Clear"; and "Follow" ended by Control+C.
#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>

#include "console_e2e_support.h"
#include "shell.h"

namespace {

constexpr const char *kLogsMenu = "36\n";

// Opens "HSM - Logs" from the main menu and chooses `item` there.
void ChooseLogItem(PtyDriver &console, const char *item, const std::string &heading) {
    ChooseSubmenuItem(console, kLogsMenu, item, heading);
}

// "Retrieve" up to the target's question: no filter, and the zip question answered.
void BeginRetrieve(PtyDriver &console, const std::string &zip) {
    ChooseLogItem(console, "1\n", "HSM - Logs - Retrieve");
    console.Expect("Log size : ");
    console.Expect("Interval : ");
    Answer(console, "Retrieve logs (y/[n]): ", "y\n");
    Answer(console, "Filter interval (y/[n]): ", "\n");
    Answer(console, "Zip log in HSM before retrieving (y/[n]): ", zip);
}

// The UTC day of `time` as "YYYY<separator>MM<separator>DD".
std::string Day(time_t time, char separator) {
    struct tm utc = {};
    gmtime_r(&time, &utc);
    char text[32];
    snprintf(text, sizeof text, "%04d%c%02d%c%02d", utc.tm_year + 1900, separator, utc.tm_mon + 1,
             separator, utc.tm_mday);
    return text;
}

size_t CountLines(const std::string &text, const std::string &part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(HsmLogs, RetrieveInEveryFormThenClearAndFollowUntilControlC) {
    SimProcess sim;
    TempDir dir;
    // Five lines on each of the next three days, after today's.
    const time_t tomorrow = time(nullptr) / 86400 * 86400 + 86400;
    ASSERT_EQ(sim.Simctl({"add-log-lines", "15", "--from", std::to_string(tomorrow + 3600),
                          "--step", "17280"}),
              0);
    PtyDriver console(TARSEL_PATH, ConsoleArgs(sim, "master"));
    ASSERT_TRUE(LogIn(console, sim.initPassword()));

    const std::string plain = dir.Path("plain.txt");
    BeginRetrieve(console, "\n");
    Answer(console, "Local file to save logs: ", plain + "\n");
    console.Expect("\n\nLogs successfully retrieved.\n");
    BackToMainMenu(console);
    const std::string text = ReadFileBytes(plain);
    const std::string firstLine = text.substr(0, text.find('\n') + 1);
    EXPECT_NE(firstLine.find("] HSM: Log start - OV00000001\n"), std::string::npos) << text;
    EXPECT_EQ(CountLines(text, " HSM: Bulk event "), 15u);

    const std::string kept = dir.Path("kept.zip");
    BeginRetrieve(console, "y\n");
    Answer(console, "Local file to save zipped logs: ", kept + "\n");
    Answer(console, "Unzip log file now (y/[n]): ", "\n");
    console.Expect("Logs successfully retrieved.");
    BackToMainMenu(console);
    std::string out;
    EXPECT_EQ(Shell("unzip -l " + kept, &out), 0) << out;
    EXPECT_EQ(Shell("unzip -p " + kept + " vlx_appliance.log > " + dir.Path("raw.log")), 0);
    EXPECT_EQ(Shell(std::string(ORVENA_SIMCTL_PATH) + " verify-log " + dir.Path("raw.log"), &out),
              0)
        << out;

    // Unpacked here, over an existing file once it is confirmed.
    const std::string unpacked = dir.Path("unpacked.txt");
    std::fclose(std::fopen(unpacked.c_str(), "w"));
    BeginRetrieve(console, "y\n");
    Answer(console, "Local file to save zipped logs: ", unpacked + "\n");
    Answer(console, "Unzip log file now (y/[n]): ", "y\n");
    Answer(console, "File already exists, overwrite (y/[n]): ", "y\n");
    console.Expect("Logs successfully retrieved.");
    BackToMainMenu(console);
    EXPECT_EQ(ReadFileBytes(unpacked), text);

    // A chosen range with an empty start: from the log's first day to the day after tomorrow.
    const std::string range = dir.Path("range.txt");
    ChooseLogItem(console, "1\n", "HSM - Logs - Retrieve");
    Answer(console, "Retrieve logs (y/[n]): ", "y\n");
    Answer(console, "Filter interval (y/[n]): ", "y\n");
    console.Expect(
        " 1 - Today\n 2 - Last 2 days\n 3 - Last 3 days\n 4 - Last 7 days\n"
        " 5 - Last 30 days\n 6 - Choose interval\n\n");
    Answer(console, "Option [1-6] : ", "6\n");
    Answer(console, "Start date (YYYY/MM/DD or ENTER to none) : ", "\n");
    Answer(console, "End date (YYYY/MM/DD or ENTER to none) : ", Day(tomorrow + 86400, '/') + "\n");
    Answer(console, "Zip log in HSM before retrieving (y/[n]): ", "\n");
    Answer(console, "Local file to save logs: ", range + "\n");
    console.Expect("Logs successfully retrieved.");
    BackToMainMenu(console);
    const std::string ranged = ReadFileBytes(range);
    EXPECT_EQ(CountLines(ranged, " HSM: Bulk event "), 10u) << ranged;
    EXPECT_EQ(ranged.find(Day(tomorrow + 2 * 86400, '-')), std::string::npos);
    EXPECT_NE(ranged.find(" master: Login (password) - ok\n"), std::string::npos);
    // No temporary file survives any of them.
    for (const auto &entry : std::filesystem::directory_iterator(dir.path()))
        EXPECT_EQ(entry.path().string().find(".tarsel.tmp"), std::string::npos) << entry.path();

    ChooseLogItem(console, "2\n", "HSM - Logs - Clear");
    console.Expect("Log size :  ");
    console.Expect("If the logs are cleared you will not be able to recover them later.");
    Answer(console, "Confirm clearing logs (y/[n]): ", "y\n");
    console.Expect("\nLogs successfully cleared.\n");
    BackToMainMenu(console);

    ChooseLogItem(console, "3\n", "HSM - Logs - Follow");
    console.Expect("Press Control+C to exit...\n\n");
    ASSERT_EQ(sim.Simctl({"add-log-lines", "1", "--text", "Followed"}), 0);
    console.Expect(" HSM: Followed 1 - ok\n");
    console.Send("\x03");
    EXPECT_EQ(console.WaitExit(), -1);  // ended by the signal
}

}  // namespace
