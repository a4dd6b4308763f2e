#pragma once
// The pieces every HSM information screen is printed with: aligned label/value lines,
// centred section titles, byte sizes, the uptime and the names of the HSM's codes.

#include <cstdint>
#include <string>
#include <vector>

// The label column of the information screen; continuation lines ("%17s   %s") align on it.
inline constexpr int kInfoWidth = 17;

// "%*s\n\n" in width + 1 + strlen(title) / 2: the title centred on the " : " column.
void PrintSectionTitle(int width, const char *title);

// "%*s : %s\n".
void PrintInfoLine(int width, const char *label, const char *value);

// The first entry on the label's line, the others below it aligned with the values;
// "None" when there is none.
void PrintInfoList(int width, const char *label, const std::vector<std::string> &entries);

// "\n<message> <library text> (<code>)\n" on standard error, with the text of the
// information screens (QGetReturnCodeString).
void PrintInfoError(const char *message, uint32_t code);

struct UptimeSplit {
    uint32_t years = 0;   // of 360 days
    uint32_t months = 0;  // of 30 days
    uint32_t days = 0;
    uint32_t hours = 0;
    uint32_t minutes = 0;
    uint32_t seconds = 0;  // left at 0 unless there are minutes
};

// Splits an uptime in seconds; seconds under a whole minute count only when the minutes
// are not 0, so 3,659 s is 1 hour, 0 minutes and 0 seconds.
UptimeSplit SplitUptime(uint32_t uptime);

// "Uptime" with " %u y, %u m, %u ds, %u hs, %u ms, %u ss".
void PrintUptime(int width, uint32_t uptime);

// "%Y-%m-%d %H:%M:%S GMT" of seconds since 1970.
std::string GmtText(uint64_t time);

// The long form of an operation mode: its name, or "Invalid Operation Mode".
const char *OperationModeName(uint32_t mode);
// The name of a replication state; codes past the table are "Invalid".
const char *ReplicationStateName(uint32_t state);
// The name of a session protocol code (QGetSessionParam 64): "clear" to "TLSv1.2", else
// "unknown".
const char *SessionProtocolName(uint32_t protocol);

// A fixed text field of a record: up to its first NUL or its end.
template <size_t N>
std::string FieldText(const char (&field)[N]) {
    size_t length = 0;
    while (length < N && field[length] != '\0')
        ++length;
    return std::string(field, length);
}
