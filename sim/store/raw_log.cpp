#include "store/raw_log.h"

#include <algorithm>

namespace sim {

namespace {

constexpr char kUpperHex[] = "0123456789ABCDEF";

void AppendHex(std::string_view bytes, std::string *out) {
    for (char c : bytes) {
        auto byte = static_cast<unsigned char>(c);
        out->push_back(kUpperHex[byte >> 4]);
        out->push_back(kUpperHex[byte & 0xF]);
    }
}

// Appends the part of `line`, which starts at `lineStart` of the text, that falls into
// [*offset, end); moves *offset past it.
void Take(std::string_view line, int64_t lineStart, int64_t end, int64_t *offset,
          std::string *out) {
    const int64_t lineEnd = lineStart + static_cast<int64_t>(line.size());
    const int64_t from = std::max(*offset, lineStart), to = std::min(end, lineEnd);
    if (from >= to) return;
    out->append(line.substr(static_cast<size_t>(from - lineStart), static_cast<size_t>(to - from)));
    *offset = to;
}

}  // namespace

std::string RawLine(const EventLine &line, std::string_view hash) {
    std::string text = CanonicalText(line);
    std::string raw;
    raw.reserve(2 * hash.size() + text.size() + 2);
    AppendHex(hash, &raw);
    raw.push_back(' ');
    raw.append(text);
    raw.push_back('\n');
    return raw;
}

std::string AnchorLine(const LogAnchor &anchor) {
    return RawLine(EventLine{anchor.seq, anchor.boot, anchor.time, "",
                             std::string(kAnchorOperation), anchor.serial},
                   anchor.hash);
}

RawLogState ReadRawLogState(Database &db) {
    Statement st(db,
                 "SELECT serial, anchor_seq, anchor_boot, anchor_time, anchor_hash, size, "
                 "last_seq FROM event_log_state WHERE id = 1");
    if (!st.Step()) throw StoreError("event log state missing");
    RawLogState state;
    state.anchor = {st.Int(1), st.Int(2), st.Int(3), st.Blob(4), st.Text(0)};
    state.size = st.Int(5);
    state.lastSeq = st.Int(6);
    return state;
}

void ReadRawLog(Database &db, const RawLogState &state, int64_t offset, int64_t length,
                std::string *out) {
    const int64_t end = offset + length;
    out->reserve(out->size() + static_cast<size_t>(length));
    const std::string anchor = AnchorLine(state.anchor);
    Take(anchor, 0, end, &offset, out);
    if (offset >= end) return;
    Statement lines(db,
                    "SELECT seq, boot, time, user_id, operation, outcome, hash, end_offset "
                    "FROM event_log WHERE end_offset > ? ORDER BY end_offset");
    lines.Bind(1, offset);
    while (offset < end && lines.Step()) {
        EventLine line{lines.Int(0),  lines.Int(1),  lines.Int(2),
                       lines.Text(3), lines.Text(4), lines.Text(5)};
        std::string raw = RawLine(line, lines.Blob(6));
        Take(raw, lines.Int(7) - static_cast<int64_t>(raw.size()), end, &offset, out);
    }
    if (offset < end) throw StoreError("event log shorter than its recorded size");
}

}  // namespace sim
