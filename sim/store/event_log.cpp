#include "store/event_log.h"

#include <algorithm>

#include "store/log_segments.h"
#include "store/raw_log.h"

namespace sim {

EventLog::EventLog(const DatabaseFile &file, const Clock &clock) : db_(file), clock_(clock) {}

void EventLog::Append(Database &db, Actor actor, std::string_view operation,
                      std::string_view outcome) const {
    if (sqlite3_get_autocommit(db.handle()) != 0)
        throw StoreError("event log line outside a transaction");
    EventLine line{
        0, 0, clock_.Now(), std::string(actor.id()), std::string(operation), std::string(outcome)};
    std::string previous;
    int64_t size = 0, anchorSeq = 0, sealedEnd = 0;
    {
        Statement end(db,
                      "SELECT boot, last_seq, last_hash, size, anchor_seq, sealed_end "
                      "FROM event_log_state WHERE id = 1");
        if (!end.Step()) throw StoreError("event log state missing");
        line.boot = end.Int(0);
        line.seq = end.Int(1) + 1;
        previous = end.Blob(2);
        size = end.Int(3);
        anchorSeq = end.Int(4);
        sealedEnd = end.Int(5);
    }
    const std::string text = CanonicalText(line);
    const std::string hash = ChainHash(previous, text);
    size += RawLineSize(hash, text);
    Statement(db, "INSERT INTO event_log (seq, end_offset, hash, text) VALUES (?, ?, ?, ?)")
        .Bind(1, line.seq)
        .Bind(2, size)
        .BindBlob(3, hash)
        .Bind(4, text)
        .Run();
    // The anchor's time is that of the line after it; its text keeps its length.
    if (line.seq == anchorSeq + 1)
        Statement(db, "UPDATE event_log_state SET anchor_time = ? WHERE id = 1")
            .Bind(1, line.time)
            .Run();
    Statement(db, "UPDATE event_log_state SET last_seq = ?, last_hash = ?, size = ? WHERE id = 1")
        .Bind(1, line.seq)
        .BindBlob(2, hash)
        .Bind(3, size)
        .Run();
    if (size - sealedEnd >= kSegmentBytes) SealSegments(db, sealedEnd);
}

void EventLog::Record(Actor actor, std::string_view operation, std::string_view outcome) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Append(db_, actor, operation, outcome);
    tx.Commit();
}

int64_t EventLog::Boot() {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    db_.Execute("UPDATE event_log_state SET boot = boot + 1 WHERE id = 1");
    Append(db_, Actor::Daemon(), "HSM started", kEventOk);
    int64_t boot = ReadEventLogEnds(db_).boot;
    tx.Commit();
    return boot;
}

void EventLog::Clear(Actor actor) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    LogAnchor anchor;
    {
        Statement end(db_,
                      "SELECT boot, last_seq, last_hash, serial FROM event_log_state WHERE id = 1");
        if (!end.Step()) throw StoreError("event log state missing");
        anchor = {end.Int(1), end.Int(0), clock_.Now(), end.Blob(2), end.Text(3)};
    }
    db_.Execute("DELETE FROM event_log; DELETE FROM event_log_segments");
    const auto anchorSize = static_cast<int64_t>(AnchorLine(anchor).size());
    Statement(db_,
              "UPDATE event_log_state SET anchor_seq = ?, anchor_boot = ?, anchor_time = ?, "
              "anchor_hash = ?, size = ?, sealed_end = ? WHERE id = 1")
        .Bind(1, anchor.seq)
        .Bind(2, anchor.boot)
        .Bind(3, anchor.time)
        .BindBlob(4, anchor.hash)
        .Bind(5, anchorSize)
        .Bind(6, anchorSize)
        .Run();
    Append(db_, actor, "Log cleared", kEventOk);
    tx.Commit();
}

RawLogState EventLog::State() {
    std::lock_guard lock(mutex_);
    return ReadRawLogState(db_);
}

bool EventLog::Read(int64_t offset, int64_t length, std::string *out) {
    std::lock_guard lock(mutex_);
    Transaction snapshot(db_, Transaction::kRead);
    RawLogState state = ReadRawLogState(db_);
    if (offset < 0 || length < 0 || offset > state.size) return false;
    ReadRawLog(db_, state, offset, std::min(length, state.size - offset), out);
    return true;
}

int64_t EventLog::ReadFrom(int64_t offset, int64_t anchorSeq, int64_t end, int64_t length,
                           std::string *out) {
    std::lock_guard lock(mutex_);
    Transaction snapshot(db_, Transaction::kRead);
    RawLogState state = ReadRawLogState(db_);
    if (state.anchor.seq != anchorSeq || end > state.size) return -1;
    length = std::min(length, end - offset);
    ReadRawLog(db_, state, offset, length, out);
    return length;
}

bool EventLog::Deflate(int64_t anchorSeq, int64_t end,
                       const std::function<void(std::string_view)> &write, uint32_t *crc) {
    std::lock_guard lock(mutex_);
    Transaction snapshot(db_, Transaction::kRead);
    RawLogState state = ReadRawLogState(db_);
    if (state.anchor.seq != anchorSeq || end > state.size) return false;
    *crc = DeflateRawLog(db_, state, end, write);
    return true;
}

int64_t EventLog::LinesAfter(int64_t seq, size_t limit, std::vector<std::string> *lines) {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT seq, hash, text FROM event_log WHERE seq > ? ORDER BY seq LIMIT ?");
    st.Bind(1, seq).Bind(2, static_cast<int64_t>(limit));
    while (st.Step()) {
        seq = st.Int(0);
        AppendRawLine(st.BlobView(1), st.TextView(2), &lines->emplace_back());
    }
    return seq;
}

void EventLog::RecordHardware(std::string_view event, std::string_view detail) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "INSERT INTO hardware_log (time, event, detail) VALUES (?, ?, ?)")
        .Bind(1, clock_.Now())
        .Bind(2, event)
        .Bind(3, detail)
        .Run();
    Statement(db_, "DELETE FROM hardware_log WHERE seq <= (SELECT MAX(seq) FROM hardware_log) - ?")
        .Bind(1, kHardwareLogLines)
        .Run();
    tx.Commit();
}

void EventLog::ForEachHardwareLine(const std::function<void(const std::string &)> &each) {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT time, event, detail FROM hardware_log ORDER BY seq");
    while (st.Step())
        each(HardwareLine(st.Int(0), st.Text(1), st.Text(2)));
}

EventLogEnds ReadEventLogEnds(Database &db) {
    Statement st(db, "SELECT serial, boot, last_seq FROM event_log_state WHERE id = 1");
    if (!st.Step()) throw StoreError("event log state missing");
    return {st.Text(0), st.Int(1), st.Int(2)};
}

void ForEachEventLine(
    Database &db,
    const std::function<void(int64_t seq, std::string_view text, std::string_view hash)> &each) {
    Statement st(db, "SELECT seq, text, hash FROM event_log ORDER BY seq");
    while (st.Step())
        each(st.Int(0), st.TextView(1), st.BlobView(2));
}

std::string HardwareLine(int64_t time, std::string_view event, std::string_view detail) {
    return UtcTime(time) + "|" + EscapeField(event) + "|" + EscapeField(detail) + "\n";
}

}  // namespace sim
