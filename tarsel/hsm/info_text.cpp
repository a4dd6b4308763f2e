#include "hsm/info_text.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include "console/terminal.h"
#include "qelvoarc.h"

void PrintSectionTitle(int width, const char *title) {
    OutPrintf("%*s\n\n", width + 1 + static_cast<int>(std::strlen(title)) / 2, title);
}

void PrintInfoLine(int width, const char *label, const char *value) {
    OutPrintf("%*s : %s\n", width, label, value);
}

void PrintInfoList(int width, const char *label, const std::vector<std::string> &entries) {
    if (entries.empty()) {
        PrintInfoLine(width, label, "None");
        return;
    }
    PrintInfoLine(width, label, entries[0].c_str());
    for (size_t i = 1; i < entries.size(); ++i)
        OutPrintf("%*s   %s\n", width, "", entries[i].c_str());
}

void PrintInfoError(const char *message, uint32_t code) {
    char text[Q_ERROR_TEXT_SIZE] = {};
    QGetReturnCodeString(code, Q_RC_STRING_TEXT, text, sizeof text);
    ErrPrintf("\n%s %s (%d)\n", message, text, static_cast<int>(code));
}

UptimeSplit SplitUptime(uint32_t uptime) {
    constexpr uint32_t kYear = 31104000, kMonth = 2592000, kDay = 86400, kHour = 3600, kMinute = 60;
    UptimeSplit split;
    uint32_t rest = uptime;
    if ((split.years = rest / kYear) != 0) rest %= kYear;
    if ((split.months = rest / kMonth) != 0) rest %= kMonth;
    if ((split.days = rest / kDay) != 0) rest %= kDay;
    if ((split.hours = rest / kHour) != 0) rest %= kHour;
    if ((split.minutes = rest / kMinute) != 0) split.seconds = rest % kMinute;
    return split;
}

void PrintUptime(int width, uint32_t uptime) {
    const UptimeSplit split = SplitUptime(uptime);
    OutPrintf("%*s :", width, "Uptime");
    OutPrintf(" %u y,", split.years);
    OutPrintf(" %u m,", split.months);
    OutPrintf(" %u ds,", split.days);
    OutPrintf(" %u hs,", split.hours);
    OutPrintf(" %u ms,", split.minutes);
    OutPrintf(" %u ss\n", split.seconds);
}

std::string GmtText(uint64_t time) {
    const time_t seconds = static_cast<time_t>(time);
    struct tm utc {};
    gmtime_r(&seconds, &utc);
    char text[64] = {};
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S GMT", &utc);
    return text;
}

const char *OperationModeName(uint32_t mode) {
    static constexpr const char *kNames[] = {"Standard (non-FIPS)", "FIPS 140-2", "FIPS 140-3",
                                             "FIPS and PCI-HSM"};
    return mode < 4 ? kNames[mode] : "Invalid Operation Mode";
}

const char *ReplicationStateName(uint32_t state) {
    static constexpr const char *kNames[] = {"Zeroed",
                                             "Undefined",
                                             "Phase 1 - Participant",
                                             "Phase 2 - Participant",
                                             "Phase 2 - Coordinator",
                                             "Invalid",
                                             "Live Sync"};
    return state < 7 ? kNames[state] : kNames[Q_REPL_STATE_INVALID];
}

const char *SessionProtocolName(uint32_t protocol) {
    static constexpr const char *kNames[] = {"unknown", "clear",   "SSLv2",  "SSLv3",
                                             "TLSv1.0", "TLSv1.1", "TLSv1.2"};
    return protocol >= 1 && protocol <= 6 ? kNames[protocol] : kNames[0];
}
