#include "core/diagnostic_log.h"

#include <ctime>

namespace sim {

void DiagnosticLog::Write(std::string_view line) {
    std::time_t now = std::time(nullptr);
    std::tm utc{};
    char stamp[sizeof "2000-01-01T00:00:00Z"];
    if (gmtime_r(&now, &utc) == nullptr || std::strftime(stamp, sizeof stamp, "%FT%TZ", &utc) == 0)
        stamp[0] = '\0';
    std::lock_guard lock(mutex_);
    std::fprintf(out_, "%s orvena-sim: %.*s\n", stamp, static_cast<int>(line.size()), line.data());
    std::fflush(out_);
}

}  // namespace sim
