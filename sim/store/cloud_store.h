#pragma once
// The HSM's cloud binding and its security policy word. Thread-safe: every method runs under
// one mutex on its own SQLite connection; a change commits with its event-log line.

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "store/database.h"
#include "store/event_log.h"

namespace sim {

struct CloudBinding {
    std::string account;
    std::string hsmId;
    std::string telemetryUrl;
};

class CloudStore {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `events` must outlive the store.
    CloudStore(const DatabaseFile &file, const EventLog &events);

    uint32_t SecurityPolicy();
    void SetSecurityPolicy(Actor actor, uint32_t word);

    std::optional<CloudBinding> Binding();
    // False, changing nothing, when the HSM is bound already.
    bool Bind(Actor actor, const CloudBinding &binding);
    // False when the HSM is not bound.
    bool Unbind(Actor actor);

  private:
    std::mutex mutex_;
    Database db_;
    const EventLog &events_;
};

}  // namespace sim
