#pragma once
// The hash chain of the event log: the canonical text of a line, the hash that links it to
// the line before, and the check of a chain. The format is written down in
// event_log_format.md; anything that reads the log must read the same text.

#include <cstdint>
#include <string>
#include <string_view>

namespace sim {

struct EventLine {
    int64_t seq = 0;   // 1, 2, 3, ... never reused
    int64_t boot = 0;  // starts of the daemon before this line
    int64_t time = 0;  // seconds since the Unix epoch
    std::string user;
    std::string operation;
    std::string outcome;
};

// `seq|boot|time|user|operation|outcome` with the time in UTC ISO 8601 and the text fields
// escaped, so the text is one printable line whose separators no field can forge.
std::string CanonicalText(const EventLine &line);

// `YYYY-MM-DDTHH:MM:SSZ`. Throws std::runtime_error for a time no calendar holds.
std::string UtcTime(int64_t seconds);

// Backslash, vertical bar and control bytes as \\, \| and \xHH; every other byte as it is.
std::string EscapeField(std::string_view field);
// The inverse of EscapeField; false for an escape EscapeField does not make.
bool UnescapeField(std::string_view escaped, std::string *field);

// The hash the first line links to: SHA-256 of the HSM's serial number.
std::string ChainStart(std::string_view serial);
// SHA-256(previous || text): the hash of a line whose canonical text is `text`.
std::string ChainHash(std::string_view previous, std::string_view text);

struct ChainReport {
    bool whole = true;
    int64_t lines = 0;     // lines found whole before the first fault
    int64_t firstBad = 0;  // number of the first broken or missing line; 0 when whole
    std::string problem;   // what is wrong with it
};

// Checks a chain line by line as it is read, so a long log needs no memory.
class ChainVerifier {
  public:
    // `lastSeq`: the number the log records for its last line.
    ChainVerifier(std::string_view serial, int64_t lastSeq);
    // A chain that continues from line `anchorSeq` of hash `anchorHash` (a cleared log).
    // `lastSeq` < 0: the end is not known, so lines cut from the end cannot be found.
    ChainVerifier(std::string anchorHash, int64_t anchorSeq, int64_t lastSeq);

    // The next line as stored: its number, canonical text and stored hash. Lines after the
    // first fault are not looked at.
    void Add(int64_t seq, std::string_view text, std::string_view hash);
    // The next line could not be read at all.
    void AddUnreadable();
    ChainReport Finish();

  private:
    void Fail(int64_t seq, std::string problem);

    std::string previous_;
    int64_t lastSeq_;
    int64_t expected_ = 1;
    ChainReport report_;
};

}  // namespace sim
