#pragma once
// The firmware the HSM runs and the update package waiting for its next start, kept as two
// files of the data directory beside hsm.db (so that a restored database never changes the
// firmware): firmware.version, the version the last applied package brought, and
// upack.pending, a package that passed its checks.

#include <mutex>
#include <string>
#include <string_view>

#include "core/result.h"
#include "crypto/upack_signature.h"
#include "store/actor.h"
#include "store/event_log.h"
#include "upack.h"

namespace sim {

class FirmwareStore {
  public:
    // Run once at start, before anything is served: applies a pending package (its version
    // becomes the running one and the change is logged) and returns the version the HSM
    // runs: the last applied package's, or `configured` in a directory that never applied
    // one. REQUIRES: `configured` is a firmware version. Throws std::runtime_error when the
    // files cannot be written.
    static std::string StartUp(const std::string &dataDir, const std::string &configured,
                               EventLog &events);

    // `running` is what StartUp returned. `verifier` and `events` must outlive the store.
    FirmwareStore(std::string dataDir, const std::string &running, const UpackVerifier &verifier,
                  EventLog &events);

    // Checks a package (signer, signature, a version not older than the running one) and
    // keeps it for the next start in place of an earlier one. Logs the outcome either way.
    // Thread-safe.
    Result Push(Actor actor, std::string_view package);

    // The description of the package waiting for the next start; "" when none. Thread-safe.
    std::string Pending() const;

  private:
    mutable std::mutex mutex_;
    std::string dataDir_;
    wire::FirmwareVersion running_;
    const UpackVerifier &verifier_;
    EventLog &events_;
    std::string pending_;
};

}  // namespace sim
