#include "store/log_segments.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace sim {

namespace {

// Text outside any segment is read and deflated this much at a time.
constexpr int64_t kLooseBytes = 1 << 20;

struct Deflated {
    std::string bytes;
    uint32_t crc = 0;
};

// `text` as a raw deflate stream of its own that ends in a full flush, so the next piece may
// follow it, or when `last` in the final block.
Deflated Deflate(std::string_view text, bool last) {
    z_stream stream{};
    if (deflateInit2(&stream, kLogDeflateLevel, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) !=
        Z_OK)
        throw std::runtime_error("cannot start deflating the log");
    const auto *in = reinterpret_cast<const Bytef *>(text.data());
    // The bound covers a finished stream; a full flush adds one empty stored block.
    Deflated out{std::string(deflateBound(&stream, text.size()) + 16, '\0'),
                 static_cast<uint32_t>(crc32_z(0, in, text.size()))};
    stream.next_in = const_cast<Bytef *>(in);
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.bytes.data());
    stream.avail_out = static_cast<uInt>(out.bytes.size());
    const int status = deflate(&stream, last ? Z_FINISH : Z_FULL_FLUSH);
    deflateEnd(&stream);
    if (status != (last ? Z_STREAM_END : Z_OK) || stream.avail_in != 0 || stream.avail_out == 0)
        throw std::runtime_error("deflating the log failed");
    out.bytes.resize(out.bytes.size() - stream.avail_out);
    return out;
}

void StoreSegment(Database &db, int64_t start, int64_t end, std::string_view text) {
    Deflated segment = Deflate(text, false);
    Statement(db,
              "INSERT INTO event_log_segments (end_offset, start_offset, crc, deflated) "
              "VALUES (?, ?, ?, ?)")
        .Bind(1, end)
        .Bind(2, start)
        .Bind(3, static_cast<int64_t>(segment.crc))
        .BindBlob(4, segment.bytes)
        .Run();
}

}  // namespace

void SealSegments(Database &db, int64_t sealedEnd) {
    {
        Statement lines(db,
                        "SELECT hash, text, end_offset FROM event_log WHERE end_offset > ? "
                        "ORDER BY end_offset");
        lines.Bind(1, sealedEnd);
        std::string text;
        while (lines.Step()) {
            AppendRawLine(lines.BlobView(0), lines.TextView(1), &text);
            if (static_cast<int64_t>(text.size()) < kSegmentBytes) continue;
            const int64_t end = lines.Int(2);
            StoreSegment(db, sealedEnd, end, text);
            sealedEnd = end;
            text.clear();
        }
    }
    Statement(db, "UPDATE event_log_state SET sealed_end = ? WHERE id = 1")
        .Bind(1, sealedEnd)
        .Run();
}

uint32_t DeflateRawLog(Database &db, const RawLogState &state, int64_t end,
                       const std::function<void(std::string_view)> &write) {
    uLong crc = crc32_z(0, nullptr, 0);
    int64_t offset = 0;
    auto deflateUpTo = [&](int64_t to) {
        std::string text;
        while (offset < to) {
            const int64_t length = std::min(kLooseBytes, to - offset);
            text.clear();
            ReadRawLog(db, state, offset, length, &text);
            Deflated piece = Deflate(text, false);
            write(piece.bytes);
            crc = crc32_combine(crc, piece.crc, length);
            offset += length;
        }
    };
    Statement segments(db,
                       "SELECT start_offset, end_offset, crc, deflated FROM event_log_segments "
                       "WHERE end_offset <= ? ORDER BY end_offset");
    segments.Bind(1, end);
    while (segments.Step()) {
        const int64_t start = segments.Int(0);
        if (start < offset) continue;  // overlaps text already sent: only the lines are trusted
        deflateUpTo(start);
        write(segments.BlobView(3));
        crc = crc32_combine(crc, static_cast<uLong>(segments.Int(2)), segments.Int(1) - start);
        offset = segments.Int(1);
    }
    deflateUpTo(end);
    write(Deflate({}, true).bytes);
    return static_cast<uint32_t>(crc);
}

}  // namespace sim
