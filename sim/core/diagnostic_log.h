#pragma once
// The daemon's diagnostic log: why something failed inside the simulator, for whoever runs
// it. Writers name the request and the account involved, never a field value or a secret.
// Thread-safe.

#include <cstdio>
#include <mutex>
#include <string_view>

namespace sim {

class DiagnosticLog {
  public:
    // `out` (stderr for the daemon) is borrowed and must outlive the log.
    explicit DiagnosticLog(std::FILE *out) : out_(out) {}
    DiagnosticLog(const DiagnosticLog &) = delete;
    DiagnosticLog &operator=(const DiagnosticLog &) = delete;

    // Writes one line, stamped with the UTC time, and flushes it.
    void Write(std::string_view line);

  private:
    std::mutex mutex_;
    std::FILE *out_;
};

}  // namespace sim
