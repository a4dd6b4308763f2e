#pragma once
// The served text kept deflated ahead of time, so a ZIP of the log costs a copy rather than a
// compression. Lines are sealed in segments of whole lines: a segment is raw deflate ended by
// a full flush, so segments laid end to end are one valid deflate stream, and its CRC-32 and
// length let the whole text's CRC be combined without reading it. A segment is written in the
// transaction of the line that completes it; text not covered by a segment (the open tail, or
// a segment lost or not yet made) is deflated when it is read.

#include <cstdint>
#include <functional>
#include <string_view>

#include "store/database.h"
#include "store/raw_log.h"

namespace sim {

// Raw text a segment holds at least before it is sealed.
inline constexpr int64_t kSegmentBytes = 256 << 10;
// The fastest level: sealing runs inside an append, and the archive only shortens a transfer.
inline constexpr int kLogDeflateLevel = 1;

// Seals every full segment of the lines ending after `sealedEnd`, the text's offset where the
// last sealed segment ends, and records the new sealed end.
// REQUIRES: inside a write transaction.
void SealSegments(Database &db, int64_t sealedEnd);

// Hands the text [0, end) to `write` as one raw deflate stream, final block included, and
// returns the text's CRC-32.
// REQUIRES: end <= state.size, and `state` read in the same transaction.
uint32_t DeflateRawLog(Database &db, const RawLogState &state, int64_t end,
                       const std::function<void(std::string_view)> &write);

}  // namespace sim
