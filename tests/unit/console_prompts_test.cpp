// Prompt primitives driven through a scripted terminal.
#include <gtest/gtest.h>

#include <unistd.h>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "console/prompts.h"
#include "typed_terminal.h"

namespace {

TEST(ConsoleReadLine, CopiesAtMostCapacityAndCancelsOnEmptyLine) {
    TypedTerminal terminal("abcd\nabcdefgh\n\n");

    char exact[5];
    memset(exact, 'x', sizeof exact);
    EXPECT_EQ(ReadLine("Name : ", exact, 4), kPromptOk);
    EXPECT_EQ(std::string(exact, 5), std::string("abcdx", 5)) << "full copy leaves no terminator";

    char longer[5] = {};
    EXPECT_EQ(ReadLine("Name : ", longer, 4), kPromptOk);
    EXPECT_EQ(std::string(longer, 4), "abcd");
    EXPECT_EQ(terminal->Remaining(), "\n") << "the rest of a long line is discarded";

    char untouched[4] = {'k', 0, 0, 0};
    EXPECT_EQ(ReadLine("Name : ", untouched, 3), kPromptCancelled);
    EXPECT_STREQ(untouched, "k");
    EXPECT_EQ(terminal->out, "Name : Name : Name : ");
}

TEST(ConsoleReadSecret, MasksEachCharacterAndHandlesBackspace) {
    struct Case {
        const char *typed;
        size_t capacity;
        const char *kept;
        const char *shown;
        const char *remaining;
    };
    const Case cases[] = {
        {"secret\n", 17, "secret", "******", ""},
        {"ab\bc\n", 17, "ac", "**\b \b*", ""},
        {"\b\ba\n", 17, "a", "*", ""},  // backspace at the start does nothing
        {"a b\n", 17, "a b", "***", ""},
        // 20 typed into 17 bytes: 17 read, the 17th dropped, the rest left unread.
        {"abcdefghijklmnopqrst\n", 17, "abcdefghijklmnop", "*****************", "rst\n"},
        {"xy\x03zz\n", 17, "xy", "**", "zz\n"},
    };
    for (const Case &c : cases) {
        TypedTerminal terminal(c.typed);
        char buffer[17];
        memset(buffer, 'z', sizeof buffer);
        uint32_t count = ReadSecret(buffer, c.capacity);
        EXPECT_EQ(count, strlen(c.kept)) << c.typed;
        EXPECT_STREQ(buffer, c.kept) << c.typed;
        EXPECT_EQ(terminal->out, c.shown) << c.typed;
        EXPECT_EQ(terminal->Remaining(), c.remaining) << c.typed;
        EXPECT_EQ(terminal->secretEntries, 1) << "terminal restored";
        EXPECT_FALSE(terminal->echoOff);
    }
}

TEST(ConsoleReadSecret, TerminalThatCannotSwitchReturnsOneUntouched) {
    TypedTerminal terminal("secret\n");
    terminal->failSecretEntry = true;
    char buffer[8] = "keep";
    EXPECT_EQ(ReadSecret(buffer, sizeof buffer), kPromptCancelled);
    EXPECT_STREQ(buffer, "keep");
    EXPECT_EQ(ReadHexMasked(buffer, sizeof buffer), kPromptCancelled);
    EXPECT_EQ(terminal->out, "") << "no newline when nothing was read";
}

TEST(ConsoleReadHexMasked, AcceptsOnlyHexDigitsUpperCased) {
    TypedTerminal terminal("0a-g Fz1\b23456\n");
    char buffer[7];
    EXPECT_EQ(ReadHexMasked(buffer, sizeof buffer), 6u);
    EXPECT_STREQ(buffer, "0AF234") << "digits beyond capacity - 1 are ignored";
    EXPECT_EQ(terminal->out, "0AF1\b \b234\n");
}

TEST(ConsoleAskYesNo, AcceptsExactLettersAndAsksAgainOtherwise) {
    struct Case {
        const char *typed;
        int defaultAnswer;
        int expected;
        int prompts;
    };
    const Case cases[] = {
        {"\n", 1, 1, 1},  {"\n", 0, 0, 1},  {"S\n", 0, 1, 1},      {"s\n", 0, 1, 1},
        {"N\n", 1, 0, 1}, {"y\n", 0, 1, 1}, {"yes\nn\n", 1, 0, 2}, {"x\n\n", 1, 1, 2},
    };
    for (const Case &c : cases) {
        TypedTerminal terminal(c.typed);
        EXPECT_EQ(AskYesNo("Q? ", c.defaultAnswer), c.expected) << c.typed;
        std::string expected;
        for (int i = 1; i < c.prompts; ++i) {
            expected += "Q? Please, answer 'y' for yes or 'n' for no: \n";
        }
        EXPECT_EQ(terminal->out, expected + "Q? ") << c.typed;
    }

    TypedTerminal terminal("\n\n");
    AskYesNoWithDefault("Exportable", 1);
    AskYesNoWithDefault("Exportable", 0);
    EXPECT_EQ(terminal->out, "Exportable ([y]/n): Exportable (y/[n]): ");
}

TEST(ConsoleAskCustomYesNo, FallsBackToStandardLettersAfterInvalidAnswer) {
    TypedTerminal terminal("A\nx\ns\n");
    EXPECT_EQ(AskCustomYesNo("Q ", 'a', 'b', 0), 1);
    EXPECT_EQ(AskCustomYesNo("Q ", 'a', 'b', 0), 1) << "'s' is yes once fallen back";
}

TEST(ConsoleNumbers, ReadIntInRangeParsesLeadingDigitsAndReportsBounds) {
    struct Case {
        const char *typed;
        int32_t min, max;
        uint32_t status;
        int32_t value;
    };
    const Case cases[] = {
        {"12abc\n", 1, 20, kPromptOk, 12},    {"abc\n", 0, 5, kPromptOk, 0},
        {"abc\n", 1, 5, kPromptRejected, -7}, {"\n", 1, 5, kPromptCancelled, -7},
        {"5\n", 1, 5, kPromptOk, 5},          {"99999999999\n", 1, 5, kPromptRejected, -7},
    };
    for (const Case &c : cases) {
        TypedTerminal terminal(c.typed);
        int32_t value = -7;
        EXPECT_EQ(ReadIntInRange("N", &value, c.min, c.max, true), c.status) << c.typed;
        EXPECT_EQ(value, c.value) << c.typed;
        EXPECT_EQ(terminal->out,
                  "N [" + std::to_string(c.min) + "-" + std::to_string(c.max) + "] : ");
    }
    TypedTerminal terminal("9\n");
    int32_t value = 0;
    ReadIntInRange("N", &value, 1, 5, false);
    EXPECT_EQ(terminal->err, "\nInvalid number value.Mininum length is 1. Maximum length is 5.\n");
}

TEST(ConsoleNumbers, ReadIntWithDefaultAlignsPromptAndChecksBounds) {
    TypedTerminal terminal("\n7\n3\n");
    int32_t value = 0;
    EXPECT_EQ(ReadIntWithDefault("Length", 4, 30, 1, 6, &value), kPromptCancelled);
    EXPECT_EQ(ReadIntWithDefault("Length", 4, 30, 1, 6, &value), kPromptOutOfRange);
    EXPECT_EQ(ReadIntWithDefault("Length", 4, 30, 1, 6, &value), kPromptOk);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(terminal->out.substr(0, 30), std::string(8, ' ') + "Length (int 1-6) [4]: ");
    EXPECT_EQ(terminal->err, "");
}

TEST(ConsoleNumbers, ReadMenuNumberAcceptsOnlyDigitsWithinBounds) {
    struct Case {
        const char *typed;
        uint32_t status;
        int32_t value;
    };
    const Case cases[] = {
        {"02\n", kPromptOk, 2},          {"3\n", kPromptOk, 3},
        {"2 \n", kPromptOutOfRange, -1}, {"+2\n", kPromptOutOfRange, -1},
        {"0\n", kPromptOutOfRange, -1},  {"4\n", kPromptOutOfRange, -1},
        {"\n", kPromptOutOfRange, -1},   {"", kPromptOutOfRange, -1},
    };
    for (const Case &c : cases) {
        TypedTerminal terminal(c.typed);
        int32_t value = -1;
        EXPECT_EQ(ReadMenuNumber(1, 3, &value), c.status) << c.typed;
        EXPECT_EQ(value, c.value) << c.typed;
    }
}

TEST(ConsoleOutputOrDump, DumpsEachPrintTypeOnEnter) {
    std::vector<uint8_t> data(20);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<uint8_t>(i);
    struct Case {
        int type;
        size_t length;
        uint32_t status;
        const char *shown;
    };
    const Case cases[] = {
        {kDumpHexRows, 20, kPromptOk,
         "\n00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F \n10 11 12 13 \n"},
        {kDumpHexString, 3, kPromptOk, "\n000102\n"},
        {kDumpFileOnly, 3, kPromptOk, "\n"},
        {9, 3, kPromptCancelled, "\n"},
    };
    for (const Case &c : cases) {
        TypedTerminal terminal("\n");
        EXPECT_EQ(OutputOrDump(nullptr, data.data(), c.length, c.type), c.status);
        std::string prompt = c.type == kDumpFileOnly
                                 ? "Output File (local): "
                                 : "Output File (local) (ENTER to dump on screen) : ";
        EXPECT_EQ(terminal->out, prompt + c.shown) << c.type;
    }
}

TEST(ConsoleFiles, OutputOrDumpWritesTheFileThatReadWholeFileReadsBack) {
    std::string path = ::testing::TempDir() + "console_dump_" +
                       std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
                       std::to_string(getpid());
    const uint8_t data[] = {0, 1, 2, 0xFF};
    TypedTerminal terminal(path + "\n");
    EXPECT_EQ(OutputOrDump("Out: ", data, sizeof data, kDumpHexRows), kPromptOk);
    std::vector<uint8_t> back;
    EXPECT_TRUE(ReadWholeFile(path.c_str(), &back));
    EXPECT_EQ(back, std::vector<uint8_t>(data, data + sizeof data));
    std::filesystem::remove(path);
    EXPECT_FALSE(ReadWholeFile(path.c_str(), &back));
    EXPECT_EQ(WriteFile((path + "/missing/dir").c_str(), data, sizeof data), kPromptCancelled);
}

TEST(ConsoleBoxedBanner, CentresEachLineInSeventySevenColumns) {
    TypedTerminal terminal;
    const char *lines[] = {"Warning", "\n", "odd", ""};
    PrintBoxedBanner('*', lines);
    std::string border(79, '*');
    std::string blank = "*" + std::string(77, ' ') + "*\n";
    std::string expected = border + "\n" + blank + "*" + std::string(35, ' ') + "Warning" +
                           std::string(35, ' ') + "*\n" + blank + "*" + std::string(37, ' ') +
                           "odd" + std::string(37, ' ') + "*\n" + blank + border + "\n";
    EXPECT_EQ(terminal->out, expected);
}

TEST(ConsoleHex, ConvertsOnlyEvenLengthHexText) {
    std::vector<uint8_t> bytes;
    EXPECT_TRUE(HexToBytes("00aFff", &bytes));
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0x00, 0xAF, 0xFF}));
    EXPECT_FALSE(HexToBytes("abc", &bytes));
    EXPECT_FALSE(HexToBytes("0g", &bytes));
    EXPECT_TRUE(IsHexString(""));
    EXPECT_FALSE(IsHexString("12 3"));
}

}  // namespace
