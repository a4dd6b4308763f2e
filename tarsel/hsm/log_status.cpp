#include "hsm/log_status.h"

#include <cstdio>

#include "console/prompts.h"
#include "console/terminal.h"
#include "hsm/byte_size.h"
#include "hsm/info_text.h"
#include "hsm/log_queries.h"

int ShowLogStatus(QSessionHandle session, int width) {
    uint32_t size = 0;
    time_t first = 0, last = 0;
    uint32_t rc = ReadLogSize(session, &size);
    if (rc == Q_OK) {
        char human[64];
        FormatByteSize(size, human, sizeof human);
        OutPrintf("%*s : %u %s (%s)\n", width, "Log Size", size, "bytes", human);
        if (size == 0) return 0;
        rc = ReadFirstLogDate(session, &first);
    }
    if (rc == Q_OK) rc = ReadLastLogDate(session, size, &last);
    if (rc != Q_OK) {
        PrintInfoError("Error retrieving log param.", rc);
        return static_cast<int>(rc);
    }
    char from[32], to[32], interval[80];
    FormatLogDay(first, from, sizeof from);
    FormatLogDay(last, to, sizeof to);
    snprintf(interval, sizeof interval, "%s to %s", from, to);
    OutPrintf("%*s : %s\n", width, "Log Interval", interval);
    return 0;
}
