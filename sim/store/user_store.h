#pragma once
// Accounts, their second factors and the counting of logins. Thread-safe: every method
// runs under one mutex on its own SQLite connection, and each change commits in one
// transaction with its event-log line (synchronous=FULL: once a method returns, the change
// survives a crash). A change's line names `actor` as its user and the account `id` in its
// operation.

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/clock.h"
#include "core/result.h"
#include "crypto/otp_verifier.h"
#include "store/database.h"
#include "store/event_log.h"
#include "store/partition_members.h"

namespace sim {

inline constexpr size_t kMaxUserIdLength = 16;

struct UserRecord {
    std::string id;
    std::string passwordHash;  // Argon2id, encoded form
    uint32_t acl = 0;
    bool blocked = false;
    uint32_t failedLogins = 0;
    int64_t passwordChanged = 0;
    std::string certificate;  // DER; empty when none is registered
};

class UserStore {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `clock` and `events` must outlive the
    // store.
    UserStore(const DatabaseFile &file, const Clock &clock, const EventLog &events);

    std::optional<UserRecord> FindUser(std::string_view id);
    bool HasUsers();
    // Every user id with its ACL, in the order of creation.
    std::vector<std::pair<std::string, uint32_t>> ListUsers();
    Result AddUser(Actor actor, std::string_view id, const std::string &passwordHash, uint32_t acl);
    // Removes everything of the partition held by other stores, then the account with its
    // OATH token and access tokens. kNotFound when there is no such user.
    Result RemoveUser(Actor actor, std::string_view id);
    Result SetAcl(Actor actor, std::string_view id, uint32_t acl);
    // Sets the bits of `set` and clears those of `clear` in one update.
    Result ChangeAclFlags(Actor actor, std::string_view id, uint32_t set, uint32_t clear);
    // Stores a new hash, restarts the expiry clock and clears the change-at-logon bit.
    Result SetPassword(Actor actor, std::string_view id, const std::string &passwordHash);
    // Sets the change-at-logon bit so the next login reports an expired password.
    Result ExpirePassword(Actor actor, std::string_view id);
    Result SetBlocked(Actor actor, std::string_view id, bool blocked);
    Result SetCertificate(Actor actor, std::string_view id, std::string_view der);

    Result SetOathToken(Actor actor, std::string_view id, const OathState &state,
                        const std::string &sealedSeed);
    // Runs `verify` on the user's token inside a transaction and stores the counter it
    // returns, so one OTP is accepted once even under concurrent logins. kOtpInvalid when
    // the user has no token or `verify` returns nullopt. A non-empty `event` (naming `id`) is
    // logged with its outcome; logins leave it empty, their own line says how they went.
    using OtpCheck =
        std::function<std::optional<uint64_t>(const OathState &, const std::string &sealed)>;
    Result UseOathToken(Actor actor, std::string_view id, const OtpCheck &verify,
                        std::string_view event = {});
    // Removes the user's OATH token and the OATH second-factor bit together.
    Result RemoveOathToken(Actor actor, std::string_view id);

    // Resets the failed-login count and logs the login; its line's user is `id`, who acts.
    void RecordLogin(std::string_view id, std::string_view how);
    // Counts a failed login (blocking the user when the policy says so) and logs it as
    // RecordLogin does.
    void RecordFailedLogin(std::string_view id, std::string_view why);

    // The other stores of the users' partitions; register them before serving.
    PartitionMembers &partitions() { return partitions_; }

  private:
    // Runs `sql` with `value` and `id` bound, and logs `operation` by `actor` with it.
    // kNotFound (nothing changed) when there is no such user.
    Result UpdateUser(Actor actor, const char *sql, std::string_view id, int64_t value,
                      std::string_view operation);

    PartitionMembers partitions_;
    std::mutex mutex_;
    Database db_;
    const Clock &clock_;
    const EventLog &events_;
};

}  // namespace sim
