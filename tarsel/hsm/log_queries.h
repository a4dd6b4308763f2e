#pragma once
// What the console reads of the HSM's log without downloading it: its size and the dates of
// its first and last lines (never more than one 16,384-byte read each). The raw line layout
// is the one qelvoarc.h describes.

#include <cstdint>
#include <ctime>

#include "qelvoarc.h"

// The line's time in UTC, from the third field of its text; false for a line of another
// shape.
bool RawLineTime(const char *line, time_t *out);

// The line's day as a calendar date (year, month, day set; the rest 0).
struct tm DayOf(time_t time);

// True when `time` falls on a day from `start` to `end`, both included.
bool WithinDays(time_t time, const struct tm &start, const struct tm &end);

uint32_t ReadLogSize(QSessionHandle session, uint32_t *size);
// REQUIRES for both: a log that is not empty. A line that cannot be read gives
// Q_ERR_INVALID_PARAMETER.
uint32_t ReadFirstLogDate(QSessionHandle session, time_t *time);
uint32_t ReadLastLogDate(QSessionHandle session, uint32_t size, time_t *time);

// "%Y-%b-%d" of the day in UTC.
void FormatLogDay(time_t time, char *out, size_t size);
