#include "core/clock.h"

#include <chrono>

namespace sim {

int64_t SystemClock::Now() const {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace sim
