// Reading and writing local files, and showing binary results.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "console/prompt_internal.h"
#include "console/prompts.h"
#include "qelvoarc.h"

using prompt_internal::kCancelledText;

namespace {

// Opens `path` and hands it with its size to `read`; false when it cannot be opened or is
// too large for a 32-bit length.
template <typename ReadInto>
bool WithOpenFile(const char *path, ReadInto read) {
    FILE *file = fopen(path, "rb");
    if (file == nullptr) return false;
    struct stat info = {};
    bool ok = fstat(fileno(file), &info) == 0 && info.st_size >= 0 &&
              static_cast<unsigned long long>(info.st_size) <= UINT32_MAX &&
              read(file, static_cast<size_t>(info.st_size));
    fclose(file);
    return ok;
}

// Reads `size` bytes, repeating until they are all in or the file ends.
size_t ReadBlock(FILE *file, uint8_t *data, size_t size) {
    size_t done = 0;
    while (done < size) {
        size_t n = fread(data + done, 1, size - done, file);
        if (n == 0) break;
        done += n;
    }
    return done;
}

// Asks for a path of at most `pathCapacity` bytes and reads that file with `read`.
template <typename ReadPath>
uint32_t AskPathAndRead(const char *prompt, size_t pathCapacity, const char *errorText,
                        ReadPath read) {
    char path[1025] = {};
    if (ReadLine(prompt, path, pathCapacity) != kPromptOk) {
        ErrPrintf("\n%s\n", kCancelledText);
        return kPromptCancelled;
    }
    if (!read(path)) {
        ErrPrintf("%s %s\n", errorText, path);
        return kPromptCancelled;
    }
    return kPromptOk;
}

constexpr const char *kOpenError = "Error opening the file.";

}  // namespace

uint32_t ReadWholeFile(const char *path, uint8_t **data, uint32_t *length) {
    bool ok = WithOpenFile(path, [&](FILE *file, size_t size) {
        // An empty file still gets a buffer, so the caller's QFree is always valid.
        auto *buffer = static_cast<uint8_t *>(QAlloc(static_cast<uint32_t>(size > 0 ? size : 1)));
        if (buffer == nullptr) return false;
        *length = static_cast<uint32_t>(ReadBlock(file, buffer, size));
        *data = buffer;
        return true;
    });
    return ok ? kPromptOk : kPromptCancelled;
}

bool ReadWholeFile(const char *path, std::vector<uint8_t> *data) {
    return WithOpenFile(path, [&](FILE *file, size_t size) {
        data->resize(size);
        data->resize(ReadBlock(file, data->data(), size));
        return true;
    });
}

uint32_t ReadFilePrompt(const char *prompt, uint8_t **data, uint32_t *length) {
    return AskPathAndRead(prompt, 1024, kOpenError, [&](const char *path) {
        return ReadWholeFile(path, data, length) == kPromptOk;
    });
}

uint32_t ReadFilePrompt(const char *prompt, std::vector<uint8_t> *data) {
    return AskPathAndRead(prompt, 1024, kOpenError,
                          [&](const char *path) { return ReadWholeFile(path, data); });
}

uint32_t ReadLocalFile(uint8_t **data, uint32_t *length) {
    return AskPathAndRead("File (local) : ", 256, "Error reading the file.", [&](const char *path) {
        return ReadWholeFile(path, data, length) == kPromptOk;
    });
}

uint32_t CheckOverwrite(const char *path) {
    if (FILE *existing = fopen(path, "rb")) {
        fclose(existing);
        if (AskYesNo("File already exists, overwrite (y/[n]): ", 0) != 1) {
            PrintCancelled();
            return kPromptCancelled;
        }
    }
    return kPromptOk;
}

uint32_t WriteFile(const char *path, const void *data, size_t length, const char *mode) {
    FILE *file = fopen(path, mode != nullptr ? mode : "wb");
    if (file == nullptr) return kPromptCancelled;
    bool written = fwrite(data, 1, length, file) == length;
    written = fflush(file) == 0 && written;
    written = fclose(file) == 0 && written;
    return written ? kPromptOk : kPromptCancelled;
}

void PrintHex(const uint8_t *data, size_t length, bool newline) {
    for (size_t i = 0; i < length; ++i)
        OutPrintf("%02X", data[i]);
    if (newline) OutPrintf("\n");
}

uint32_t OutputOrDump(const char *prompt, const uint8_t *data, size_t length, int printType) {
    if (prompt == nullptr) {
        prompt = printType == kDumpFileOnly ? "Output File (local): "
                                            : "Output File (local) (ENTER to dump on screen) : ";
    }
    char path[257] = {};
    if (ReadLine(prompt, path, 256) == kPromptOk) return WriteFile(path, data, length, "wb");

    OutPrintf("\n");
    switch (printType) {
        case kDumpHexRows:
            for (size_t i = 1; i <= length; ++i) {
                OutPrintf("%02X ", data[i - 1]);
                if (i % 16 == 0) {
                    OutPrintf("\n");
                } else if (i % 8 == 0) {
                    OutPrintf(" ");
                }
            }
            OutPrintf("\n");
            return kPromptOk;
        case kDumpRaw:
            CurrentTerminal().WriteOut(reinterpret_cast<const char *>(data), length);
            return kPromptOk;
        case kDumpHexString:
            PrintHex(data, length, true);
            return kPromptOk;
        case kDumpFileOnly:
            return kPromptOk;
        default:
            ErrPrintf("Invalid print type.\n");
            return kPromptCancelled;
    }
}
