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
#include <vector>

#include "core/clock.h"
#include "store/actor.h"
#include "store/database.h"
#include "store/event_chain.h"
#include "store/raw_log.h"

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

    // Empties the log. The text then begins with an anchor standing for the last line
    // removed, so the chain stays checkable, and the clear is the first line after it.
    void Clear(Actor actor);
    // The served text's bounds.
    RawLogState State();
    // Up to `length` bytes of the text from `offset`, one snapshot; false when the offset lies
    // beyond the text (an offset at its end reads nothing).
    bool Read(int64_t offset, int64_t length, std::string *out);
    // The next part of a download of the text [.., end) that began while the log started at
    // the anchor `anchorSeq`: up to `length` bytes from `offset`. Returns how many bytes, or
    // -1 when the log was cleared since.
    int64_t ReadFrom(int64_t offset, int64_t anchorSeq, int64_t end, int64_t length,
                     std::string *out);
    // The whole text of such a download, [0, end), as one raw deflate stream handed to
    // `write` (log_segments.h); its CRC-32 into *crc. False when the log was cleared since.
    bool Deflate(int64_t anchorSeq, int64_t end, const std::function<void(std::string_view)> &write,
                 uint32_t *crc);
    // Appends the raw lines after line `seq`, at most `limit`, to *lines; returns the number
    // of the last line appended (`seq` when none).
    int64_t LinesAfter(int64_t seq, size_t limit, std::vector<std::string> *lines);

    // The hardware log: the last kHardwareLogLines events of the device itself (start, stop,
    // tamper, battery, fan, temperature), each a line of HardwareLine.
    void RecordHardware(std::string_view event, std::string_view detail);
    void ForEachHardwareLine(const std::function<void(const std::string &)> &each);

  private:
    std::mutex mutex_;
    Database db_;
    const Clock &clock_;
};

inline constexpr int64_t kHardwareLogLines = 1000;

// `time|event|detail\n`, the time as in the event log and the texts escaped the same way.
std::string HardwareLine(int64_t time, std::string_view event, std::string_view detail);

// Where the chain starts and ends, as the database records it.
struct EventLogEnds {
    std::string serial;   // the chain starts at SHA-256 of it
    int64_t boot = 0;     // daemon starts so far
    int64_t lastSeq = 0;  // 0 while the log is empty
};

// REQUIRES for both: inside one transaction (Transaction::kRead) when they must agree.
EventLogEnds ReadEventLogEnds(Database &db);
// Calls `each` for every line in sequence order: its number, canonical text and stored hash.
void ForEachEventLine(
    Database &db,
    const std::function<void(int64_t seq, std::string_view text, std::string_view hash)> &each);

}  // namespace sim
