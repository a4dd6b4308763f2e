// The IP filter items of "HSM - IP Filter".
#include "console/prompts.h"
#include "console/terminal.h"
#include "hsm/ip_filter_actions.h"

namespace {

constexpr size_t kFilterUserChars = 16;
constexpr size_t kFilterHostChars = 15;
constexpr const char *kEntryLayout = "%17s    %-17s\n";

// Reads the state; a failure is reported. 0 or the library's code.
uint32_t ReadFilterState(QSessionHandle session, uint32_t *enabled) {
    const uint32_t rc =
        QIPFilterOperation(session, Q_IPF_STATUS, nullptr, nullptr, nullptr, nullptr, enabled, 0);
    if (rc != Q_OK) PrintError("Error querying IP Filter status.", rc);
    return rc;
}

// The status line the entry items begin with. 0 or the library's code.
uint32_t ShowFilterState(QSessionHandle session) {
    uint32_t enabled = 0;
    const uint32_t rc = ReadFilterState(session, &enabled);
    if (rc == Q_OK)
        OutPrintf("%s\n\n", enabled != 0 ? "IP Filter is Enabled." : "IP Filter is Disabled.");
    return rc;
}

// The shared dialogue of "Add" and "Remove": `operation` is Q_IPF_ADD or Q_IPF_REMOVE.
int32_t ChangeFilterEntry(QSessionHandle session, const MenuItem &item, uint32_t operation,
                          const char *failure, const char *done) {
    PrintActionHeading(item);
    if (uint32_t rc = ShowFilterState(session); rc != Q_OK) return static_cast<int32_t>(rc);
    char user[kFilterUserChars + 1] = {};
    // ENTER leaves the entry open to every user.
    (void)ReadLine("User Id (optional, ENTER for none): ", user, kFilterUserChars);
    char host[kFilterHostChars + 1] = {};
    if (!ReadLineOrCancel("Host IP: ", host, sizeof host))
        return static_cast<int32_t>(kPromptCancelled);
    const uint32_t rc = QIPFilterOperation(session, operation, user[0] != '\0' ? user : nullptr,
                                           host, nullptr, nullptr, nullptr, 0);
    if (rc != Q_OK) {
        PrintError(failure, rc);
        return static_cast<int32_t>(rc);
    }
    if (user[0] != '\0')
        ErrPrintf("\n%s%s, %s%s %s\n\n", "Entry IP: ", host, "user: ", user, done);
    else
        ErrPrintf("\n%s%s %s\n\n", "Entry IP: ", host, done);
    return 0;
}

uint32_t PrintFilterEntry(const char *hostIp, const char *userId, void *, int isFinal) {
    if (isFinal == 0) OutPrintf(kEntryLayout, hostIp, userId);
    return 0;
}

}  // namespace

int32_t AddFilterEntry(QSessionHandle session, const MenuItem &item) {
    return ChangeFilterEntry(session, item, Q_IPF_ADD, "Error adding host to IP Filter.",
                             "successfuly added.");
}

int32_t RemoveFilterEntry(QSessionHandle session, const MenuItem &item) {
    return ChangeFilterEntry(session, item, Q_IPF_REMOVE, "Error removing host from IP Filter.",
                             "successfuly removed.");
}

int32_t ListFilterEntries(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    if (uint32_t rc = ShowFilterState(session); rc != Q_OK) return static_cast<int32_t>(rc);
    OutPrintf(kEntryLayout, "Host IP", "User");
    OutPrintf("%s\n", "-----------------------------------------");
    uint32_t enabled = 0;
    const uint32_t rc = QIPFilterOperation(session, Q_IPF_STATUS, nullptr, nullptr,
                                           PrintFilterEntry, nullptr, &enabled, 0);
    if (rc != Q_OK) {
        PrintError("Error listing IP Filter.", rc);
        return static_cast<int32_t>(rc);
    }
    return 0;
}

int32_t ToggleFilter(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    uint32_t enabled = 0;
    if (uint32_t rc = ReadFilterState(session, &enabled); rc != Q_OK)
        return static_cast<int32_t>(rc);
    const bool on = enabled != 0;
    if (AskYesNo(on ? "IP Filter is currently Enabled, do you want disable it (y/[n])?"
                    : "IP Filter is currently Disabled, do you want enable it (y/[n])?",
                 0) != 1) {
        ErrPrintf("\n%s\n\n", on ? "IP Filter remains enabled." : "IP Filter remains disabled.");
        return 0;
    }
    const uint32_t rc = QIPFilterOperation(session, on ? Q_IPF_DISABLE : Q_IPF_ENABLE, nullptr,
                                           nullptr, nullptr, nullptr, nullptr, 0);
    if (rc != Q_OK) {
        PrintError(on ? "Error disabling IP Filter." : "Error enabling IP Filter.", rc);
        return static_cast<int32_t>(rc);
    }
    ErrPrintf("\n%s\n\n", on ? "IP Filter is now disabled." : "IP Filter is now enabled.");
    return 0;
}
