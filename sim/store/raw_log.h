#pragma once
// The event log as the HSM serves it: one text of raw lines, read by byte offset, the first
// line the anchor the chain continues from. The layout is written down in
// event_log_format.md; the device library's line formatter reads the same text.

#include <cstdint>
#include <string>
#include <string_view>

#include "store/database.h"
#include "store/event_chain.h"

namespace sim {

// The line the log's first line links to: the chain's start (seq 0, the hash of the
// serial) until the log is first cleared, then the last line the clear removed.
struct LogAnchor {
    int64_t seq = 0;
    int64_t boot = 0;
    int64_t time = 0;  // that of the line after it, so the log's first date is its own
    std::string hash;  // the raw digest the next line links to
    std::string serial;
};

// The operation an anchor line names.
inline constexpr std::string_view kAnchorOperation = "Log start";

// `HASH TEXT\n`: the hash in 64 uppercase hexadecimal digits, a space, the canonical text.
std::string RawLine(const EventLine &line, std::string_view hash);
// The same from the canonical text, appended to *out.
void AppendRawLine(std::string_view hash, std::string_view text, std::string *out);
// How long that line is.
int64_t RawLineSize(std::string_view hash, std::string_view text);
// The anchor in the same shape: `seq|boot|time||Log start|serial` after its hash.
std::string AnchorLine(const LogAnchor &anchor);

// The served text's bounds, as the database records them.
struct RawLogState {
    LogAnchor anchor;
    int64_t size = 0;  // bytes of the whole text, the anchor line included
    int64_t lastSeq = 0;
};

// REQUIRES: inside a transaction when it must agree with a read that follows.
RawLogState ReadRawLogState(Database &db);

// Appends the bytes [offset, offset + length) of the text to *out. The line holding `offset`
// is found through the index of line ends, so the cost does not grow with the log.
// REQUIRES: offset + length <= state.size, and `state` read in the same transaction.
void ReadRawLog(Database &db, const RawLogState &state, int64_t offset, int64_t length,
                std::string *out);

}  // namespace sim
