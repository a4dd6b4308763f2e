#pragma once
// Wall-clock time behind an interface so tests can move it.

#include <cstdint>

namespace sim {

// Thread-safe implementations only: services read the clock from many connections.
class Clock {
  public:
    virtual ~Clock() = default;
    // Seconds since the Unix epoch, UTC.
    virtual int64_t Now() const = 0;
};

class SystemClock final : public Clock {
  public:
    int64_t Now() const override;
};

}  // namespace sim
