#pragma once
// One download of the event log in progress, in one of the three forms a download selector
// names. The plain text is read from the store chunk by chunk, the next chunk while the last
// one is on its way; a ZIP is built first, from the text kept deflated, into an unlinked
// temporary file, so neither form holds the log in memory.

#include <cstdint>
#include <future>
#include <memory>
#include <string>

#include "core/result.h"
#include "store/event_log.h"

namespace sim {

inline constexpr int32_t kLogPlain = 0;
inline constexpr int32_t kLogZipped = -1;
inline constexpr int32_t kLogZippedPackage = -2;

// The members of the ZIP forms.
inline constexpr const char *kLogMemberName = "vlx_appliance.log";
inline constexpr const char *kHardwareLogMemberName = "vlx_hardware.log";

class LogDownload {
  public:
    // Takes a snapshot of the log's extent and, for a ZIP, builds it. kInvalidParameter for
    // an unknown selector.
    static Result Start(EventLog &events, int32_t selector, std::unique_ptr<LogDownload> *out);
    ~LogDownload();
    LogDownload(const LogDownload &) = delete;
    LogDownload &operator=(const LogDownload &) = delete;

    // Up to `length` next bytes into *out; none once all were read. kBadState when the log was
    // cleared during a plain download.
    Result Next(EventLog &events, uint32_t length, std::string *out);

  private:
    // Bytes of the plain text from `offset`; `read` is -1 when the log was cleared.
    struct Chunk {
        int64_t offset = -1;
        uint32_t length = 0;
        int64_t read = 0;
        std::string bytes;
    };

    explicit LogDownload(const RawLogState &state);
    Chunk ReadChunk(EventLog &events, int64_t offset, uint32_t length) const;
    Result NextPlain(EventLog &events, uint32_t length, std::string *out);

    int64_t offset_ = 0;  // of the plain text
    int64_t end_;         // the text's size when the download began
    int64_t anchorSeq_;
    int zipFd_ = -1;  // the built ZIP, read from its start; -1 for the plain text
    // The chunk after the last one handed out, being read. Its destruction waits for it, so
    // it never outlives the download.
    std::future<Chunk> ahead_;
};

}  // namespace sim
