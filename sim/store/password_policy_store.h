#pragma once
// The HSM-wide password policy. Thread-safe: every method runs under one mutex on its own
// SQLite connection; a change commits with its event-log line.

#include <mutex>

#include "policy/password_policy.h"
#include "store/database.h"
#include "store/event_log.h"

namespace sim {

class PasswordPolicyStore {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `events` must outlive the store.
    PasswordPolicyStore(const DatabaseFile &file, const EventLog &events);

    PasswordPolicy Load();
    void Save(Actor actor, const PasswordPolicy &policy);

    // The policy as `db` sees it, for a store that needs it inside its own transaction.
    static PasswordPolicy Read(Database &db);

  private:
    std::mutex mutex_;
    Database db_;
    const EventLog &events_;
};

}  // namespace sim
