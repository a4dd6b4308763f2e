// Date bounds typed for log filtering.
#include <gtest/gtest.h>

#include <ctime>

#include "console/prompts.h"
#include "typed_terminal.h"

namespace {

struct DateCase {
    const char *text;
    bool isEnd;
    int year, month, day;  // calendar values; month 1-12
};

TEST(ConsoleDateBound, FillsMissingPartsAndRejectsOtherShapes) {
    const DateCase cases[] = {
        {"2024", true, 2024, 12, 31},        {"2024", false, 2024, 1, 1},
        {"2024/02", true, 2024, 2, 29},      {"2023/02", true, 2023, 2, 28},
        {"2100/02", true, 2100, 2, 28},      {"2000/02", true, 2000, 2, 29},
        {"2024/04", true, 2024, 4, 30},      {"2024/07", false, 2024, 7, 1},
        {"2024/07/09", true, 2024, 7, 9},    {"2023-feb-15", false, 2023, 2, 15},
        {"2023-FEB", true, 2023, 2, 28},     {"2023-Sep", true, 2023, 9, 30},
        {"2024/13/45", false, 2024, 13, 45},  // not checked against the calendar
    };
    for (const DateCase &c : cases) {
        struct tm date = {};
        date.tm_hour = 5;
        ASSERT_TRUE(ParseDateBound(c.text, c.isEnd, &date)) << c.text;
        EXPECT_EQ(date.tm_year, c.year - 1900) << c.text;
        EXPECT_EQ(date.tm_mon, c.month - 1) << c.text;
        EXPECT_EQ(date.tm_mday, c.day) << c.text;
        EXPECT_EQ(date.tm_hour, 0) << c.text;
    }
    for (const char *bad : {"2023/2/15", "2023/02/5", "2023/02/-1", "2023-02-15", "2023/feb",
                            "2023.02.15", "2023/02/15/01", "2023/", "23", "20a4", "2023-febr"}) {
        struct tm date = {};
        EXPECT_FALSE(ParseDateBound(bad, false, &date)) << bad;
    }
}

TEST(ConsoleDateRange, EmptyBoundsAreZeroAndABadStartSkipsTheEnd) {
    {
        TypedTerminal terminal("\n2024\n");
        struct tm start = {}, end = {};
        start.tm_year = 99;
        EXPECT_EQ(ReadDateRange(&start, &end), 1);
        EXPECT_EQ(start.tm_year, 0);
        EXPECT_EQ(start.tm_mday, 0);
        EXPECT_EQ(end.tm_mday, 31);
        EXPECT_EQ(terminal->out,
                  "Start date (YYYY/MM/DD or ENTER to none) : "
                  "End date (YYYY/MM/DD or ENTER to none) : ");
    }
    {
        TypedTerminal terminal("2024/1\n2024\n");
        struct tm start = {}, end = {};
        EXPECT_EQ(ReadDateRange(&start, &end), 0);
        EXPECT_EQ(terminal->Remaining(), "2024\n");
    }
    {
        TypedTerminal terminal("2024\n24\n");
        struct tm start = {}, end = {};
        EXPECT_EQ(ReadDateRange(&start, &end), 0);
    }
}

}  // namespace
