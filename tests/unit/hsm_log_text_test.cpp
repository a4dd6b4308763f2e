// The console's reading of raw log lines (their time, the day filter) and the byte sizes of
// the log screens.
#include <gtest/gtest.h>

#include <string>

#include "hsm/byte_size.h"
#include "hsm/log_queries.h"

namespace {

const std::string kHash = "9F86D081884C7D659A2FEAA0C55AD015A3BF4F1B2B0B822CD15D6C15B0F00A08";

struct tm Date(int year, int month, int day) {
    struct tm date = {};
    date.tm_year = year - 1900;
    date.tm_mon = month - 1;
    date.tm_mday = day;
    return date;
}

TEST(HsmLogText, TheTimeIsReadFromTheThirdFieldAndTheDayFilterIncludesBothEnds) {
    time_t time = 0;
    ASSERT_TRUE(RawLineTime((kHash + " 7|2|2024-02-29T23:59:59Z|alice|x|ok\n").c_str(), &time));
    EXPECT_EQ(time, 1709251199);
    for (const std::string &bad :
         {std::string("7|2|2024-02-29T23:59:59Z|alice|x|ok"),
          kHash + " 7|2|2024-02-29 23:59:59|a|b|c", kHash + " x|2|2024-02-29T23:59:59Z|a|b|c",
          kHash.substr(2) + " 7|2|2024-02-29T23:59:59Z|"})
        EXPECT_FALSE(RawLineTime(bad.c_str(), &time)) << bad;

    // 2024-02-29 23:59:59 and 2024-03-01 00:00:00 UTC fall on different days.
    EXPECT_TRUE(WithinDays(1709251199, Date(2024, 2, 29), Date(2024, 2, 29)));
    EXPECT_FALSE(WithinDays(1709251200, Date(2024, 2, 1), Date(2024, 2, 29)));
    EXPECT_TRUE(WithinDays(1709251200, Date(2024, 3, 1), Date(2024, 12, 31)));
    EXPECT_FALSE(WithinDays(1709251199, Date(2024, 3, 1), Date(2024, 12, 31)));
    char day[32];
    FormatLogDay(1709251199, day, sizeof day);
    EXPECT_STREQ(day, "2024-Feb-29");
}

TEST(HsmLogText, ByteSizesChangeUnitAtEachPowerOf1024) {
    const std::pair<double, const char *> cases[] = {
        {0, "0.00 bytes"},          {1, "1.00 byte"},        {1023, "1023.00 bytes"},
        {1024, "1.00 KB"},          {1536, "1.50 KB"},       {1048576, "1.00 MB"},
        {1073741823, "1024.00 MB"}, {1073741824, "1.00 GB"},
    };
    char text[64];
    for (const auto &[value, expected] : cases) {
        FormatByteSize(value, text, sizeof text);
        EXPECT_STREQ(text, expected) << value;
    }
}

}  // namespace
