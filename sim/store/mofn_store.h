#pragma once
// The M of N side of the HSM: the fingerprint of its current server master key (SVMK), and
// for each partition under M of N its state, its permission mask and the fingerprint of the
// SVMK of the set associated with it. Thread-safe: every method runs under one mutex on its
// own SQLite connection; a change commits with its event-log line.

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "core/result.h"
#include "store/database.h"
#include "store/event_log.h"

namespace sim {

enum class MofNState : uint32_t { kInitial = 2, kAssociated = 3, kAuthorized = 4 };

struct MofNPartition {
    MofNState state = MofNState::kInitial;
    uint32_t permissions = 0;    // pb::MofNPermission bits
    std::string setFingerprint;  // SvmkFingerprint of the associated set; empty in kInitial
    // Random for each association from kInitial, so that what was granted before a reset
    // never comes back with the same set; empty in kInitial.
    std::string association;
};

class MofNStore {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `events` must outlive the store.
    MofNStore(const DatabaseFile &file, const EventLog &events);

    // Empty when the HSM has no SVMK yet.
    std::string CurrentSvmk();
    void SetCurrentSvmk(Actor actor, std::string_view fingerprint, std::string_view event);

    // A partition never changed is kInitial with nothing granted.
    MofNPartition Read(std::string_view userId);
    // kNotFound when there is no such user.
    Result Write(Actor actor, std::string_view userId, const MofNPartition &partition,
                 std::string_view event);

  private:
    std::mutex mutex_;
    Database db_;
    const EventLog &events_;
};

}  // namespace sim
