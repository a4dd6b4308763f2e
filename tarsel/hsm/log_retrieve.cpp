// "Retrieve" of the menu "HSM - Logs", and the zipped package of "Hardware logs".
#include <cstdio>
#include <cstring>

#include "app/version_numbers.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "hsm/byte_size.h"
#include "hsm/log_actions.h"
#include "hsm/log_files.h"
#include "hsm/log_queries.h"

namespace {

constexpr size_t kPathChars = 1024;
// The target is cut to this before the temporary names are made from it.
constexpr size_t kTargetChars = 1023;
constexpr const char *kPlainSuffix = ".tarsel.tmp";
constexpr const char *kZipSuffix = ".tarsel.tmp.zip";
// The days back of the filter choices 1 to 5; choice 6 is a range.
constexpr int kDaysBack[] = {0, 1, 2, 6, 29};
constexpr int kChooseRange = 6;

// How the operator narrowed the log.
struct LogFilter {
    int daysBack = -1;  // -1: none
    bool range = false;
    struct tm start = {}, end = {};
};

// 0 with the filter chosen; otherwise the action's result, its message printed.
uint32_t AskFilter(LogFilter *filter) {
    if (AskYesNo("Filter interval (y/[n]): ", 0) != 1) return 0;
    OutPrintf(" 1 - %s\n 2 - %s\n 3 - %s\n 4 - %s\n 5 - %s\n 6 - %s\n\n", "Today", "Last 2 days",
              "Last 3 days", "Last 7 days", "Last 30 days", "Choose interval");
    int32_t choice = 0;
    if (uint32_t rc = ReadIntInRange("Option", &choice, 1, kChooseRange, true); rc != kPromptOk) {
        if (rc == kPromptCancelled) PrintCancelled();
        return rc;
    }
    if (choice != kChooseRange) {
        filter->daysBack = kDaysBack[choice - 1];
        return 0;
    }
    if (ReadDateRange(&filter->start, &filter->end) != 1) {
        ErrPrintf("\n%s\n", "Invalid date format.");
        return 1;
    }
    filter->range = true;
    return 0;
}

bool IsEmptyBound(const struct tm &bound) {
    return bound.tm_year == 0 && bound.tm_mon == 0 && bound.tm_mday == 0;
}

// Both temporary files are made (empty) before anything is fetched, so that a name that
// cannot be created stops the action first.
bool CreateTemporary(const char *path) {
    FILE *file = fopen(path, "wb");
    if (file == nullptr) {
        ErrPrintf("%s [%s]\n", "Error opening the file.", path);
        return false;
    }
    fclose(file);
    return true;
}

long FileSize(const char *path) {
    FILE *file = fopen(path, "rb");
    if (file == nullptr) return 0;
    fseek(file, 0, SEEK_END);
    long size = ftell(file);
    fclose(file);
    return size;
}

// Fetches and writes the log once the target and temporary names are settled.
uint32_t Transfer(QSessionHandle session, const LogFilter &filter, bool zipped, bool unzip,
                  time_t first, time_t last, const char *target, const char *plain,
                  const char *archive) {
    uint32_t rc;
    if (filter.daysBack >= 0)
        rc = DownloadLogSince(session, filter.daysBack, plain);
    else if (!zipped)
        rc = DownloadHsmLog(session, plain, kLogPlainMode, true);
    else
        rc = DownloadHsmLog(session, unzip ? archive : target, kLogZippedMode, true);
    if (rc != Q_OK) {
        PrintError("Error receiving logs.", rc);
        return rc;
    }
    if (unzip && !UnzipHsmLog(archive, plain)) {
        PrintError("Error unzipping logs.", 1);
        return 1;
    }
    if (zipped && !unzip) {
        ErrPrintf("\n\n%s\n", "Logs successfully retrieved.");
        return 0;
    }
    if (FileSize(plain) == 0) {
        ErrPrintf("\n%s\n", "No logs found for the requested period.");
        return 0;
    }
    if (filter.daysBack >= 0) {
        rc = CopyLogFile(plain, target, true);
    } else if (filter.range) {
        struct tm start = filter.start, end = filter.end;
        if (IsEmptyBound(start)) start = DayOf(first);
        if (IsEmptyBound(end)) end = DayOf(last);
        rc = FormatLogFile(plain, &start, &end, target, true);
    } else {
        rc = FormatLogFile(plain, nullptr, nullptr, target, true);
    }
    if (rc != Q_OK) {
        PrintError("Error formatting logs.", rc);
        return rc;
    }
    ErrPrintf("\n\n%s\n", "Logs successfully retrieved.");
    return 0;
}

}  // namespace

int32_t RetrieveLogs(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    uint32_t size = 0;
    uint32_t rc = ReadLogSize(session, &size);
    if (rc != Q_OK) {
        PrintError("Error retrieving log param.", rc);
        return static_cast<int32_t>(rc);
    }
    char human[64];
    FormatByteSize(size, human, sizeof human);
    OutPrintf("%s%u %s (%s).\n", "Log size : ", size, "bytes", human);
    if (size == 0) return 0;

    time_t first = 0, last = 0;
    rc = ReadFirstLogDate(session, &first);
    if (rc == Q_OK) rc = ReadLastLogDate(session, size, &last);
    if (rc != Q_OK) {
        PrintError("Error retrieving log param.", rc);
        return static_cast<int32_t>(rc);
    }
    char from[32], to[32];
    FormatLogDay(first, from, sizeof from);
    FormatLogDay(last, to, sizeof to);
    OutPrintf("%s%s to %s\n\n", "Interval : ", from, to);

    if (AskYesNo("Retrieve logs (y/[n]): ", 0) != 1) {
        PrintCancelled();
        return 1;
    }
    LogFilter filter;
    if ((rc = AskFilter(&filter)) != 0) return static_cast<int32_t>(rc);
    bool zipped = false;
    if (FirmwareAtLeast("3.7.2.12") && filter.daysBack < 0)
        zipped = AskYesNo("Zip log in HSM before retrieving (y/[n]): ", 0) == 1;
    char target[kPathChars + 1] = {};
    if (ReadLine(zipped ? "Local file to save zipped logs: " : "Local file to save logs: ", target,
                 kPathChars) != kPromptOk) {
        PrintCancelled();
        return 1;
    }
    const bool unzip = zipped && AskYesNo("Unzip log file now (y/[n]): ", 0) == 1;
    if (CheckOverwrite(target) != kPromptOk) return 1;
    target[kTargetChars] = '\0';
    char plain[kTargetChars + 32], archive[kTargetChars + 32];
    snprintf(plain, sizeof plain, "%s%s", target, kPlainSuffix);
    snprintf(archive, sizeof archive, "%s%s", target, kZipSuffix);

    if (CreateTemporary(plain) && CreateTemporary(archive))
        rc = Transfer(session, filter, zipped, unzip, first, last, target, plain, archive);
    else
        rc = 1;
    remove(plain);
    remove(archive);
    return static_cast<int32_t>(rc);
}

int32_t RetrieveZippedLogs(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    if (AskYesNo("Retrieve logs (y/[n]): ", 0) != 1) {
        PrintCancelled();
        return 1;
    }
    char target[kPathChars + 1] = {};
    if (ReadLine("Local file to save zipped logs: ", target, kPathChars) != kPromptOk) {
        PrintCancelled();
        return 1;
    }
    uint32_t rc = DownloadHsmLog(session, target, kLogZippedPackageMode, true);
    if (rc != Q_OK) {
        PrintError("Error receiving logs.", rc);
        return static_cast<int32_t>(rc);
    }
    ErrPrintf("\n\n%s\n", "Logs successfully retrieved.");
    return 0;
}
