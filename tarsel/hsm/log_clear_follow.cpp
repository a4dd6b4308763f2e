// "Clear" and "Follow" of the menu "HSM - Logs".
#include <csignal>

#include "console/prompts.h"
#include "console/terminal.h"
#include "hsm/byte_size.h"
#include "hsm/log_actions.h"
#include "hsm/log_queries.h"

namespace {

uint32_t PrintEvent(const char *rawLine, void *) {
    char formatted[Q_LOG_LINE_SIZE];
    if (QLogLineFormat(rawLine, formatted, sizeof formatted, 0) == Q_OK)
        OutPrintf("%s\n", formatted);
    else
        OutPrintf("Log line discarded. Could not be parsed.\n");
    CurrentTerminal().FlushOut();
    return 0;
}

}  // namespace

int32_t ClearLogs(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    uint32_t size = 0;
    uint32_t rc = ReadLogSize(session, &size);
    if (rc != Q_OK) {
        PrintError("Error retrieving log param.", rc);
    } else {
        char human[64];
        FormatByteSize(size, human, sizeof human);
        OutPrintf("%s %u %s (%s).\n\n", "Log size : ", size, "bytes", human);
    }
    static constexpr const char *kWarning[] = {
        "Warning",
        "\n",
        "If the logs are cleared you will not be able to recover them later.",
        "",
    };
    PrintBoxedBanner('*', kWarning);
    if (AskYesNo("Confirm clearing logs (y/[n]): ", 0) != 1) {
        PrintCancelled();
        return 1;
    }
    rc = QTruncateLog(session, 0);
    if (rc != Q_OK) {
        PrintError("Error clearing logs.", rc);
        return static_cast<int32_t>(rc);
    }
    ErrPrintf("\n%s\n\n", "Logs successfully cleared.");
    return 0;
}

int32_t FollowLogs(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    // Control+C ends the console here, whatever an earlier screen installed.
    signal(SIGINT, SIG_DFL);
    OutPrintf("Press Control+C to exit...\n\n");
    CurrentTerminal().FlushOut();
    return static_cast<int32_t>(QGetLogEvents(session, PrintEvent, nullptr, 0));
}
