#pragma once
// One download of the event log in progress, in one of the three forms a download selector
// names. The plain text is read from the store chunk by chunk; a ZIP is built first, streamed
// into an unlinked temporary file, so neither form holds the log in memory.

#include <cstdint>
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
    explicit LogDownload(const RawLogState &state);

    int64_t offset_ = 0;  // of the plain text
    int64_t end_;         // the text's size when the download began
    int64_t anchorSeq_;
    int zipFd_ = -1;  // the built ZIP, read from its start; -1 for the plain text
};

}  // namespace sim
