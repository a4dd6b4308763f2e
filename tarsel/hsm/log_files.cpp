#include "hsm/log_files.h"

#include <minizip/unzip.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "console/terminal.h"
#include "hsm/log_queries.h"

namespace {

constexpr size_t kBufferBytes = 1u << 20;
constexpr uint32_t kChunkMarks = 25;
constexpr uint32_t kLineMarks = 288000;
// Lines longer than this are cut by the line reader.
constexpr size_t kLineBytes = 2048;
constexpr const char *kArchiveMember = "vlx_appliance.log";

uint64_t gProgressCalls = 0;

struct FileCloser {
    void operator()(FILE *file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// Opens with a 1 MiB stdio buffer that lives as long as the file.
struct BufferedFile {
    std::unique_ptr<char[]> buffer;
    File file;

    BufferedFile(const char *path, const char *mode)
        : buffer(new char[kBufferBytes]), file(fopen(path, mode)) {
        if (file) setvbuf(file.get(), buffer.get(), _IOFBF, kBufferBytes);
    }
    // The file is closed, its buffer flushed, before the buffer goes.
    ~BufferedFile() { file.reset(); }
    // Closes, reporting whether everything reached the file.
    bool Close() { return fclose(file.release()) == 0; }
};

// Formats one raw line and writes it with its newline.
uint32_t WriteFormatted(const char *line, FILE *target) {
    char formatted[Q_LOG_LINE_SIZE];
    uint32_t rc = QLogLineFormat(line, formatted, sizeof formatted, 0);
    if (rc != Q_OK) return rc;
    return fprintf(target, "%s\n", formatted) < 0 ? 1 : Q_OK;
}

// Reads the first whole line at or after `offset` (at `offset` itself when `atLineStart`):
// where it starts and ends, and its time.
uint32_t ProbeLine(QSessionHandle session, uint32_t offset, bool atLineStart, uint32_t *lineStart,
                   uint32_t *lineEnd, time_t *time) {
    uint8_t *data = nullptr;
    uint32_t length = 0;
    uint32_t rc = QGetStatLog(session, offset, Q_LOG_STAT_MAX, &data, &length, 0);
    if (rc != Q_OK) return rc;
    std::string text(reinterpret_cast<const char *>(data), length);
    QFree(data);
    size_t begin = 0;
    if (!atLineStart) {
        begin = text.find('\n');
        if (begin == std::string::npos) return Q_ERR_INVALID_PARAMETER;
        ++begin;
    }
    size_t newline = text.find('\n', begin);
    *lineStart = offset + static_cast<uint32_t>(begin);
    *lineEnd = newline == std::string::npos ? offset + length : offset + uint32_t(newline + 1);
    if (begin >= text.size()) return Q_OK;  // the log's end: no line there
    return RawLineTime(text.c_str() + begin, time) ? Q_OK : Q_ERR_INVALID_PARAMETER;
}

// The offset of the first line whose time is at least `start` (the log's size when none),
// by a binary search over the starts of lines. `low` and `high` are always starts of lines
// (or the size), with the answer between them.
uint32_t FindFirstLineSince(QSessionHandle session, uint32_t size, time_t start, uint32_t *offset) {
    uint32_t low = 0, high = size;
    while (low < high) {
        uint32_t middle = low + (high - low) / 2, lineStart = 0, lineEnd = 0;
        time_t time = 0;
        uint32_t rc = ProbeLine(session, middle, middle == low, &lineStart, &lineEnd, &time);
        // No line starts after the middle: the first line of the range decides.
        if (rc == Q_OK && lineStart >= high)
            rc = ProbeLine(session, low, true, &lineStart, &lineEnd, &time);
        if (rc != Q_OK) return rc;
        if (time >= start)
            high = lineStart;
        else
            low = lineEnd;
    }
    *offset = low;
    return Q_OK;
}

}  // namespace

void ProgressMark(uint32_t every) {
    if (gProgressCalls++ % every == 0) {
        OutPrintf(".");
        CurrentTerminal().FlushOut();
    }
}

uint32_t DownloadHsmLog(QSessionHandle session, const char *target, int mode, bool showProgress) {
    const int32_t selector = mode == kLogZippedMode  ? Q_LOG_ZIPPED
                             : mode == kLogPlainMode ? Q_LOG_PLAIN
                                                     : Q_LOG_ZIPPED_PACKAGE;
    std::unique_ptr<uint8_t[]> chunk(new (std::nothrow) uint8_t[Q_LOG_CHUNK_SIZE]);
    if (!chunk) return Q_ERR_NO_MEMORY;
    BufferedFile file(target, "w+b");
    if (!file.file) return 1;
    QLogHandle log = 0;
    uint32_t rc = QGetHSMLogInit(session, 0, selector, &log, 0);
    if (rc != Q_OK) return rc;
    for (;;) {
        uint32_t length = Q_LOG_CHUNK_SIZE;
        rc = QGetHSMLogCont(log, chunk.get(), &length);
        if (rc != Q_OK) return rc;  // the handle is left as it is
        if (length == 0) break;
        if (fwrite(chunk.get(), 1, length, file.file.get()) != length) {
            QGetHSMLogEnd(log);
            return 1;
        }
        if (showProgress) ProgressMark(kChunkMarks);
    }
    rc = QGetHSMLogEnd(log);
    if (!file.Close()) return 1;
    return rc;
}

uint32_t DownloadLogSince(QSessionHandle session, int daysBack, const char *target) {
    time_t now = time(nullptr) - static_cast<time_t>(daysBack) * 86400;
    struct tm day = DayOf(now);
    const time_t start = timegm(&day);
    uint32_t size = 0, offset = 0;
    uint32_t rc = ReadLogSize(session, &size);
    if (rc == Q_OK) rc = FindFirstLineSince(session, size, start, &offset);
    if (rc != Q_OK) return rc;
    BufferedFile file(target, "w+b");
    if (!file.file) return 1;
    std::string pending;  // the part of a line a read cut
    while (offset < size) {
        uint8_t *data = nullptr;
        uint32_t length = 0;
        rc = QGetStatLog(session, offset, Q_LOG_STAT_MAX, &data, &length, 0);
        if (rc != Q_OK) return rc;
        pending.append(reinterpret_cast<const char *>(data), length);
        QFree(data);
        if (length == 0) break;  // the log was cleared meanwhile
        offset += length;
        size_t begin = 0;
        for (size_t newline; (newline = pending.find('\n', begin)) != std::string::npos;
             begin = newline + 1) {
            pending[newline] = '\0';
            if ((rc = WriteFormatted(pending.c_str() + begin, file.file.get())) != Q_OK) return rc;
        }
        pending.erase(0, begin);
    }
    return file.Close() ? Q_OK : 1;
}

uint32_t FormatLogFile(const char *source, const struct tm *start, const struct tm *end,
                       const char *target, bool showProgress) {
    BufferedFile in(source, "rb");
    if (!in.file) return 1;
    BufferedFile out(target, "w+b");
    if (!out.file) return 1;
    char line[kLineBytes + 1];
    while (fgets(line, sizeof line, in.file.get()) != nullptr) {
        time_t time = 0;
        if (start != nullptr && end != nullptr && RawLineTime(line, &time) &&
            !WithinDays(time, *start, *end))
            continue;
        if (uint32_t rc = WriteFormatted(line, out.file.get()); rc != Q_OK) return rc;
        if (showProgress) ProgressMark(kLineMarks);
    }
    return out.Close() ? Q_OK : 1;
}

uint32_t CopyLogFile(const char *source, const char *target, bool showProgress) {
    BufferedFile in(source, "rb");
    if (!in.file) return 1;
    BufferedFile out(target, "w+b");
    if (!out.file) return 1;
    std::unique_ptr<char[]> chunk(new char[kBufferBytes]);
    size_t length;
    while ((length = fread(chunk.get(), 1, kBufferBytes, in.file.get())) > 0) {
        if (fwrite(chunk.get(), 1, length, out.file.get()) != length) return 1;
        if (showProgress) ProgressMark(kChunkMarks);
    }
    return out.Close() ? Q_OK : 1;
}

bool UnzipHsmLog(const char *archive, const char *target) {
    unzFile zip = unzOpen64(archive);
    if (zip == nullptr) return false;
    bool done = false;
    if (unzLocateFile(zip, kArchiveMember, 1) == UNZ_OK && unzOpenCurrentFile(zip) == UNZ_OK) {
        BufferedFile out(target, "wb");
        std::unique_ptr<char[]> chunk(new char[kBufferBytes]);
        int length = 0;
        while (out.file && (length = unzReadCurrentFile(zip, chunk.get(), kBufferBytes)) > 0 &&
               fwrite(chunk.get(), 1, static_cast<size_t>(length), out.file.get()) ==
                   static_cast<size_t>(length)) {
        }
        // A bad CRC shows at the close of the member.
        done = out.file && length == 0 && unzCloseCurrentFile(zip) == UNZ_OK && out.Close();
    }
    unzClose(zip);
    return done;
}
