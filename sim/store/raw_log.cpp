#include "store/raw_log.h"

#include <algorithm>

namespace sim {

namespace {

constexpr char kUpperHex[] = "0123456789ABCDEF";

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

// Written in place rather than character by character: a download renders every line.
void AppendRawLine(std::string_view hash, std::string_view text, std::string *out) {
    const size_t start = out->size();
    out->resize(start + static_cast<size_t>(RawLineSize(hash, text)));
    char *at = out->data() + start;
    for (char c : hash) {
        auto byte = static_cast<unsigned char>(c);
        *at++ = kUpperHex[byte >> 4];
        *at++ = kUpperHex[byte & 0xF];
    }
    *at++ = ' ';
    at = std::copy(text.begin(), text.end(), at);
    *at = '\n';
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
        const std::string_view hash = lines.BlobView(0), text = lines.TextView(1);
        const int64_t lineEnd = lines.Int(2);
        const int64_t lineStart = lineEnd - RawLineSize(hash, text);
        if (lineStart == offset && lineEnd <= end) {  // most lines: whole, in place
            AppendRawLine(hash, text, out);
            offset = lineEnd;
            continue;
        }
        raw.clear();
        AppendRawLine(hash, text, &raw);
        Take(raw, lineStart, end, &offset, out);
    }
    if (offset < end) throw StoreError("event log shorter than its recorded size");
}

}  // namespace sim
