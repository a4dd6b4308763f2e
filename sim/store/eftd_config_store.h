#pragma once
// The EFT daemon's configuration. Thread-safe: every method runs under one mutex on its own
// SQLite connection; a change commits with its event-log line.

#include <mutex>
#include <string_view>

#include "policy/eftd_config.h"
#include "store/actor.h"
#include "store/database.h"
#include "store/event_log.h"

namespace sim {

class EftdConfigStore {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `events` must outlive the store.
    EftdConfigStore(const DatabaseFile &file, const EventLog &events);

    EftdConfig Load();
    // REQUIRES for the lengths: within the kMin/kMaxEftd* bounds.
    void SetAuthorized(Actor actor, bool authorized);
    void SetHeaderLength(Actor actor, uint8_t length);
    void SetPinLength(Actor actor, uint8_t length);
    // Back to EftdConfig's defaults.
    void Reset(Actor actor);

  private:
    void Save(Actor actor, const EftdConfig &config, std::string_view change);

    std::mutex mutex_;
    Database db_;
    const EventLog &events_;
};

}  // namespace sim
