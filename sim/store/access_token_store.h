#pragma once
// Access tokens: only the SHA-256 of each secret is kept. Thread-safe: every method runs
// under one mutex on its own SQLite connection; a change commits with its event-log line,
// whose user is the change's actor and whose operation names the token's owner.

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "store/database.h"
#include "store/event_log.h"

namespace sim {

struct AccessTokenRecord {
    std::string userId;
    int64_t expires = 0;  // 0 = never
    bool revoked = false;
};

// A live (not revoked) access token as listings show it.
struct AccessTokenListing {
    std::string userId;
    int64_t expires = 0;     // 0 = never
    std::string secretHash;  // SHA-256 of the secret
};

class AccessTokenStore {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `events` must outlive the store.
    AccessTokenStore(const DatabaseFile &file, const EventLog &events);

    // kNotFound when `userId` has no account.
    Result Add(Actor actor, std::string_view secretHash, std::string_view userId, int64_t expires);
    std::optional<AccessTokenRecord> Find(std::string_view secretHash);
    Result Revoke(Actor actor, std::string_view secretHash);
    // The live tokens of `userId`, or of every user when it is empty, oldest first.
    std::vector<AccessTokenListing> List(std::string_view userId);
    // The live token of `userId` whose secret hash starts with `hashPrefix`.
    std::optional<AccessTokenListing> FindByPrefix(std::string_view userId,
                                                   std::string_view hashPrefix);
    uint64_t Count();
    // Deletes the tokens expired at `now` and the revoked ones; returns how many.
    uint64_t Collect(Actor actor, int64_t now);

  private:
    std::mutex mutex_;
    Database db_;
    const EventLog &events_;
};

}  // namespace sim
