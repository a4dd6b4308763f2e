// Date bounds typed by the user for filtering by date.
#include <strings.h>

#include <cctype>
#include <cstring>

#include "console/prompts.h"

namespace {

constexpr const char *kMonthNames[12] = {"jan", "feb", "mar", "apr", "may", "jun",
                                         "jul", "aug", "sep", "oct", "nov", "dec"};

// Value of exactly `count` decimal digits, or -1.
int Digits(const char *text, size_t length, size_t count) {
    if (length != count) return -1;
    int value = 0;
    for (size_t i = 0; i < count; ++i) {
        if (!isdigit(static_cast<unsigned char>(text[i]))) return -1;
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

// Month 1-12 from a three-letter English abbreviation in any case, or -1.
int MonthFromName(const char *text, size_t length) {
    if (length != 3) return -1;
    for (int month = 0; month < 12; ++month) {
        if (strncasecmp(text, kMonthNames[month], 3) == 0) return month + 1;
    }
    return -1;
}

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Month numbers are not checked against the calendar, so any month other than the short
// ones has 31 days.
int LastDayOfMonth(int month, int year) {
    switch (month) {
        case 2:
            return IsLeapYear(year) ? 29 : 28;
        case 4:
        case 6:
        case 9:
        case 11:
            return 30;
        default:
            return 31;
    }
}

}  // namespace

bool ParseDateBound(const char *text, bool isEnd, struct tm *out) {
    *out = {};
    size_t length = strlen(text);
    if (length == 0) return true;

    int year = Digits(text, length < 4 ? length : 4, 4);
    if (year < 0 || (length > 4 && text[4] != '/' && text[4] != '-')) return false;

    int month = isEnd ? 12 : 1;
    int day = -1;
    if (length > 4) {
        char separator = text[4];
        const char *monthText = text + 5;
        const char *dayText = strchr(monthText, separator);
        size_t monthLength =
            dayText != nullptr ? static_cast<size_t>(dayText - monthText) : strlen(monthText);
        month = separator == '/' ? Digits(monthText, monthLength, 2)
                                 : MonthFromName(monthText, monthLength);
        if (month < 0) return false;
        if (dayText != nullptr) {
            ++dayText;
            day = Digits(dayText, strlen(dayText), 2);
            if (day < 0) return false;
        }
    }
    if (day < 0) day = isEnd ? LastDayOfMonth(month, year) : 1;

    out->tm_year = year - 1900;
    out->tm_mon = month - 1;
    out->tm_mday = day;
    return true;
}

int ReadDateRange(struct tm *start, struct tm *end) {
    char text[1025] = {};
    *start = {};
    *end = {};
    if (ReadLine("Start date (YYYY/MM/DD or ENTER to none) : ", text, 1024) == kPromptOk &&
        !ParseDateBound(text, false, start)) {
        return 0;
    }
    memset(text, 0, sizeof text);
    if (ReadLine("End date (YYYY/MM/DD or ENTER to none) : ", text, 1024) == kPromptOk &&
        !ParseDateBound(text, true, end)) {
        return 0;
    }
    return 1;
}
