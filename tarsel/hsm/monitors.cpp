// "Monitor resources" and "Monitor sessions": live views refreshed in place.
#include <cstdio>
#include <string>

#include "console/terminal.h"
#include "hsm/hsm_actions.h"
#include "hsm/info_text.h"
#include "hsm/monitor_interrupt.h"

namespace {

constexpr const char *kStatisticsError = "Error showing statistics.";
constexpr const char *kCursorUp = "\x1b[1A";

int Percent(uint32_t part, uint32_t whole) {
    return whole == 0 ? 0 : static_cast<int>(static_cast<double>(part) / whole * 100);
}

void PrintResourceRow(const QStatInfo &stats, bool withSwap) {
    const int memory = Percent(stats.memoryUsed, stats.memoryTotal);
    if (withSwap)
        OutPrintf("%-18u %-21u %-21d %-13d\n", stats.sessions, stats.cpuPercent, memory,
                  Percent(stats.swapUsed, stats.swapTotal));
    else
        OutPrintf("%-18u %-21u %-21d\n", stats.sessions, stats.cpuPercent, memory);
}

// Moves up over `lines` lines, blanking each.
void ClearLines(uint32_t lines) {
    for (uint32_t i = 0; i < lines; ++i)
        OutPrintf("%s%80s\r", kCursorUp, "");
}

struct SessionRows {
    uint64_t now = 0;
    uint32_t count = 0;
};

uint32_t PrintSessionRow(uint64_t startTime, const char *description, void *context, int isFinal) {
    if (isFinal) return 0;
    auto *rows = static_cast<SessionRows *>(context);
    char address[64] = {}, user[64] = {};
    int id = -1;
    char tls = 'z';
    std::sscanf(description, "%63[^,], id: %d, tls: %c, %63s", address, &id, &tls, user);
    OutPrintf("%17s  %-3d  %-2c %8.f  %s\n", address, id, tls,
              static_cast<double>(rows->now) - static_cast<double>(startTime), user);
    ++rows->count;
    return 0;
}

}  // namespace

int32_t MonitorResources(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    QStatInfo stats{};
    uint32_t rc = QGetStatInfo(session, &stats, 0);
    if (rc != Q_OK) {
        PrintInfoError(kStatisticsError, rc);
        return static_cast<int32_t>(rc);
    }
    const bool withSwap = stats.swapTotal != 0;
    MonitorInterrupt interrupt;
    OutPrintf("Press Control+C to cancel\n\n");
    if (withSwap)
        OutPrintf("%-18s %-21s %-21s %-13s\n", "Sessions", "CPU (%)", "Memory (%)", "Swap (%)");
    else
        OutPrintf("%-18s %-21s %-21s\n", "Sessions", "CPU (%)", "Memory (%)");
    for (;;) {
        rc = QGetStatInfo(session, &stats, 0);
        if (rc != Q_OK) {
            PrintInfoError(kStatisticsError, rc);
            return static_cast<int32_t>(rc);
        }
        PrintResourceRow(stats, withSwap);
        CurrentTerminal().FlushOut();
        const bool stop = interrupt.WaitForStop(1000);
        OutPrintf("%s", kCursorUp);
        if (stop) break;
    }
    OutPrintf("\n");
    return 0;
}

int32_t MonitorSessions(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    MonitorInterrupt interrupt;
    OutPrintf("Press Control+C to cancel\n\n");
    OutPrintf("%-18s %-3s %-3s %-9s %s\n", "          IP", "id", "tls", "duration", "user");
    OutPrintf("%s\n", std::string(77, '-').c_str());
    uint32_t rc = 0;
    for (;;) {
        SessionRows rows;
        uint32_t flagWord = 0, length = sizeof rows.now;
        rc = QGetHsmInfo(session, &flagWord, Q_INFO_CLOCK, &rows.now, &length, 0);
        if (rc == Q_OK) rc = QListUserSessions(session, PrintSessionRow, &rows, 0);
        if (rc != Q_OK) {
            PrintInfoError(kStatisticsError, rc);
            break;
        }
        OutPrintf("\n%s: %02u\n", "Total", rows.count);
        CurrentTerminal().FlushOut();
        const bool stop = interrupt.WaitForStop(3000);
        ClearLines(rows.count + 2);
        if (stop) break;
    }
    ClearLines(2);
    OutPrintf("\n");
    return static_cast<int32_t>(rc);
}
