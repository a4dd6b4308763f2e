#include "hsm/log_queries.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

// Reads the log at `offset` into a string.
uint32_t ReadAt(QSessionHandle session, uint32_t offset, uint32_t length, std::string *text) {
    uint8_t *data = nullptr;
    uint32_t dataLength = 0;
    uint32_t rc = QGetStatLog(session, offset, length, &data, &dataLength, 0);
    if (rc != Q_OK) return rc;
    text->assign(reinterpret_cast<const char *>(data), dataLength);
    QFree(data);
    return Q_OK;
}

int DayNumber(int year, int month, int day) {
    return (year * 100 + month) * 100 + day;
}

}  // namespace

bool RawLineTime(const char *line, time_t *out) {
    constexpr size_t kHashDigits = 64;
    // 64 hexadecimal digits, a space, seq|boot|YYYY-MM-DDTHH:MM:SSZ|
    if (strspn(line, "0123456789ABCDEF") != kHashDigits || line[kHashDigits] != ' ') return false;
    struct tm utc = {};
    int consumed = 0;
    if (sscanf(line + kHashDigits + 1, "%*[0-9]|%*[0-9]|%4d-%2d-%2dT%2d:%2d:%2dZ|%n", &utc.tm_year,
               &utc.tm_mon, &utc.tm_mday, &utc.tm_hour, &utc.tm_min, &utc.tm_sec, &consumed) != 6 ||
        consumed == 0)
        return false;
    utc.tm_year -= 1900;
    utc.tm_mon -= 1;
    *out = timegm(&utc);
    return true;
}

struct tm DayOf(time_t time) {
    struct tm utc = {};
    gmtime_r(&time, &utc);
    struct tm day = {};
    day.tm_year = utc.tm_year;
    day.tm_mon = utc.tm_mon;
    day.tm_mday = utc.tm_mday;
    return day;
}

bool WithinDays(time_t time, const struct tm &start, const struct tm &end) {
    struct tm day = DayOf(time);
    int number = DayNumber(day.tm_year, day.tm_mon, day.tm_mday);
    return number >= DayNumber(start.tm_year, start.tm_mon, start.tm_mday) &&
           number <= DayNumber(end.tm_year, end.tm_mon, end.tm_mday);
}

uint32_t ReadLogSize(QSessionHandle session, uint32_t *size) {
    return QGetStatLogSize(session, size, 0);
}

uint32_t ReadFirstLogDate(QSessionHandle session, time_t *time) {
    std::string text;
    uint32_t rc = ReadAt(session, 0, Q_LOG_STAT_MAX, &text);
    if (rc != Q_OK) return rc;
    return RawLineTime(text.c_str(), time) ? Q_OK : Q_ERR_INVALID_PARAMETER;
}

uint32_t ReadLastLogDate(QSessionHandle session, uint32_t size, time_t *time) {
    const uint32_t offset = size > Q_LOG_STAT_MAX ? size - Q_LOG_STAT_MAX : 0;
    std::string text;
    uint32_t rc = ReadAt(session, offset, Q_LOG_STAT_MAX, &text);
    if (rc != Q_OK) return rc;
    // The last line starts after the newline that ends the one before it; a read that
    // began inside the last line holds no such newline, unless it began at the log's start.
    size_t end = text.size() > 0 && text.back() == '\n' ? text.size() - 1 : text.size();
    size_t newline = text.rfind('\n', end == 0 ? 0 : end - 1);
    if (newline == std::string::npos && offset != 0) return Q_ERR_INVALID_PARAMETER;
    size_t start = newline == std::string::npos ? 0 : newline + 1;
    return RawLineTime(text.c_str() + start, time) ? Q_OK : Q_ERR_INVALID_PARAMETER;
}

void FormatLogDay(time_t time, char *out, size_t size) {
    struct tm day = DayOf(time);
    strftime(out, size, "%Y-%b-%d", &day);
}
