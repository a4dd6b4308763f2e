#include "store/event_log.h"

namespace sim {

EventLog::EventLog(const DatabaseFile &file, const Clock &clock) : db_(file), clock_(clock) {}

void EventLog::Append(Database &db, Actor actor, std::string_view operation,
                      std::string_view outcome) const {
    if (sqlite3_get_autocommit(db.handle()) != 0)
        throw StoreError("event log line outside a transaction");
    EventLine line{
        0, 0, clock_.Now(), std::string(actor.id()), std::string(operation), std::string(outcome)};
    std::string previous;
    {
        Statement end(db, "SELECT boot, last_seq, last_hash FROM event_log_state WHERE id = 1");
        if (!end.Step()) throw StoreError("event log state missing");
        line.boot = end.Int(0);
        line.seq = end.Int(1) + 1;
        previous = end.Blob(2);
    }
    const std::string hash = InsertEventLine(db, line, previous);
    Statement(db, "UPDATE event_log_state SET last_seq = ?, last_hash = ? WHERE id = 1")
        .Bind(1, line.seq)
        .BindBlob(2, hash)
        .Run();
}

std::string InsertEventLine(Database &db, const EventLine &line, std::string_view previousHash) {
    std::string hash = ChainHash(previousHash, CanonicalText(line));
    Statement(db,
              "INSERT INTO event_log (seq, boot, time, user_id, operation, outcome, hash) "
              "VALUES (?, ?, ?, ?, ?, ?, ?)")
        .Bind(1, line.seq)
        .Bind(2, line.boot)
        .Bind(3, line.time)
        .Bind(4, line.user)
        .Bind(5, line.operation)
        .Bind(6, line.outcome)
        .BindBlob(7, hash)
        .Run();
    return hash;
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

EventLogEnds ReadEventLogEnds(Database &db) {
    Statement st(db, "SELECT serial, boot, last_seq FROM event_log_state WHERE id = 1");
    if (!st.Step()) throw StoreError("event log state missing");
    return {st.Text(0), st.Int(1), st.Int(2)};
}

void ForEachEventLine(Database &db,
                      const std::function<void(const EventLine &, std::string_view hash)> &each) {
    Statement st(db,
                 "SELECT seq, boot, time, user_id, operation, outcome, hash FROM event_log "
                 "ORDER BY seq");
    while (st.Step())
        each(EventLine{st.Int(0), st.Int(1), st.Int(2), st.Text(3), st.Text(4), st.Text(5)},
             st.Blob(6));
}

}  // namespace sim
