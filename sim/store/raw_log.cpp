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
    std::string raw;
    AppendRawLine(hash, CanonicalText(line), &raw);
    return raw;
}

void AppendRawLine(std::string_view hash, std::string_view text, std::string *out) {
    AppendHex(hash, out);
    out->push_back(' ');
    out->append(text);
    out->push_back('\n');
}

int64_t RawLineSize(std::string_view hash, std::string_view text) {
    return static_cast<int64_t>(2 * hash.size() + text.size() + 2);
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
                    "SELECT hash, text, end_offset FROM event_log WHERE end_offset > ? "
                    "ORDER BY end_offset");
    lines.Bind(1, offset);
    std::string raw;
    while (offset < end && lines.Step()) {
        raw.clear();
        AppendRawLine(lines.Blob(0), lines.Text(1), &raw);
        Take(raw, lines.Int(2) - static_cast<int64_t>(raw.size()), end, &offset, out);
    }
    if (offset < end) throw StoreError("event log shorter than its recorded size");
}

}  // namespace sim
