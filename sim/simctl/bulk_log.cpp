#include "simctl/bulk_log.h"

namespace sim {

namespace {

constexpr int64_t kLinesPerTransaction = 50000;

// Hands out `from`, `from + step`, ... one reading per line.
class SteppingClock final : public Clock {
  public:
    SteppingClock(int64_t from, int64_t step) : next_(from), step_(step) {}
    int64_t Now() const override {
        int64_t now = next_;
        next_ += step_;
        return now;
    }

  private:
    mutable int64_t next_;
    int64_t step_;
};

}  // namespace

void AppendLogLines(DataDirectory &data, int64_t count, int64_t from, int64_t step,
                    const std::string &text) {
    SteppingClock clock(from, step);
    EventLog log(data.database(), clock);
    Database db(data.database());
    for (int64_t done = 0; done < count;) {
        Transaction tx(db);
        for (int64_t n = 0; n < kLinesPerTransaction && done < count; ++n)
            log.Append(db, Actor::Daemon(), text + " " + std::to_string(++done), kEventOk);
        tx.Commit();
    }
}

}  // namespace sim
