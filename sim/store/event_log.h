#pragma once
// The event log: one chained line for every change to accounts, tokens, policy and keys,
// every login and every start of the daemon. A store writes the line inside the
// transaction of the change it describes, so both commit or neither does. The line format
// and the chain are written down in event_log_format.md.

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "core/clock.h"
#include "store/actor.h"
#include "store/database.h"
#include "store/event_chain.h"

namespace sim {

// The outcome of a line whose operation succeeded; any other outcome says why it failed.
inline constexpr std::string_view kEventOk = "ok";

class EventLog {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `clock` must outlive the log.
    EventLog(const DatabaseFile &file, const Clock &clock);

    // Appends a line inside the caller's write transaction on `db`. The chain's end is read
    // and moved under that transaction's write lock, which every connection and process
    // shares, so concurrent appends stay one linear chain. Throws StoreError outside a
    // transaction. Thread-safe; the caller serialises its own `db` as always.
    void Append(Database &db, Actor actor, std::string_view operation,
                std::string_view outcome) const;
    // Appends a line in a transaction of its own, for events that change nothing else (a
    // refused login, an export). Thread-safe.
    void Record(Actor actor, std::string_view operation, std::string_view outcome);
    // Counts one more start of the daemon and logs it; returns the new count. Thread-safe.
    int64_t Boot();

  private:
    std::mutex mutex_;
    Database db_;
    const Clock &clock_;
};

// Where the chain starts and ends, as the database records it.
struct EventLogEnds {
    std::string serial;   // the chain starts at SHA-256 of it
    int64_t boot = 0;     // daemon starts so far
    int64_t lastSeq = 0;  // 0 while the log is empty
};

// Stores `line` as the link after `previousHash` and returns its own hash. The chain's end
// (event_log_state) is the caller's to move. REQUIRES: inside a write transaction.
std::string InsertEventLine(Database &db, const EventLine &line, std::string_view previousHash);

// REQUIRES for both: inside one transaction (Transaction::kRead) when they must agree.
EventLogEnds ReadEventLogEnds(Database &db);
// Calls `each` for every line in sequence order, with the hash stored for it.
void ForEachEventLine(Database &db,
                      const std::function<void(const EventLine &, std::string_view hash)> &each);

}  // namespace sim
