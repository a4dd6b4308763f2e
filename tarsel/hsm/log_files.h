#pragma once
// The local files of a log retrieval: downloads from the HSM, the formatting and copying of
// a downloaded log, and the unpacking of a zipped one. Downloads and file passes use 1 MiB
// buffers. Statuses: Q_OK, the library's code, or 1 for a file that cannot be opened or
// written (2002 when the transfer buffer cannot be had).

#include <cstdint>
#include <ctime>

#include "qelvoarc.h"

// What DownloadHsmLog fetches.
enum LogDownloadMode { kLogZippedMode = 1, kLogPlainMode = 2, kLogZippedPackageMode = 3 };

// Prints the progress mark: "." on the first call and then once every `every` calls, one
// count shared by every download and file pass of the process.
void ProgressMark(uint32_t every);

// Downloads the log in `mode` into `target` (opened "w+b"), chunk by chunk.
uint32_t DownloadHsmLog(QSessionHandle session, const char *target, int mode, bool showProgress);

// Writes the log's lines from the start of the day `daysBack` days before today (UTC) on,
// formatted, into `target`. The log is in time order, so the first such line is found by a
// binary search of reads by offset; only the lines from there on are read.
uint32_t DownloadLogSince(QSessionHandle session, int daysBack, const char *target);

// Formats every line of `source` into `target`, skipping a line outside [start, end] when
// both are given. A line that does not format stops the pass with the library's code.
uint32_t FormatLogFile(const char *source, const struct tm *start, const struct tm *end,
                       const char *target, bool showProgress);
// Copies `source` into `target` as it is.
uint32_t CopyLogFile(const char *source, const char *target, bool showProgress);

// Extracts the member "vlx_appliance.log" of the archive into `target`. True on success.
bool UnzipHsmLog(const char *archive, const char *target);
