#pragma once
// Users, their second factors, access tokens, the password policy and the event log.
// Thread-safe: every method runs under one mutex on one SQLite connection, and changes
// that belong together commit in one transaction (synchronous=FULL: once a method
// returns, the change survives a crash).

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
#include "policy/password_policy.h"
#include "store/database.h"
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

class UserStore {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `clock` must outlive the store.
    UserStore(const std::string &path, const Clock &clock);

    std::optional<UserRecord> FindUser(std::string_view id);
    bool HasUsers();
    // Every user id with its ACL, in the order of creation.
    std::vector<std::pair<std::string, uint32_t>> ListUsers();
    Result AddUser(std::string_view id, const std::string &passwordHash, uint32_t acl);
    // Removes everything of the partition held by other stores, then the account with its
    // OATH token and access tokens. kNotFound when there is no such user.
    Result RemoveUser(std::string_view id);
    Result SetAcl(std::string_view id, uint32_t acl);
    // Sets the bits of `set` and clears those of `clear` in one update.
    Result ChangeAclFlags(std::string_view id, uint32_t set, uint32_t clear);
    // Stores a new hash, restarts the expiry clock and clears the change-at-logon bit.
    Result SetPassword(std::string_view id, const std::string &passwordHash);
    // Sets the change-at-logon bit so the next login reports an expired password.
    Result ExpirePassword(std::string_view id);
    Result SetBlocked(std::string_view id, bool blocked);
    Result SetCertificate(std::string_view id, std::string_view der);

    Result SetOathToken(std::string_view id, const OathState &state, const std::string &sealedSeed);
    // Runs `verify` on the user's token inside a transaction and stores the counter it
    // returns, so one OTP is accepted once even under concurrent logins. kOtpInvalid when
    // the user has no token or `verify` returns nullopt.
    using OtpCheck =
        std::function<std::optional<uint64_t>(const OathState &, const std::string &sealed)>;
    Result UseOathToken(std::string_view id, const OtpCheck &verify);
    // Removes the user's OATH token and the OATH second-factor bit together.
    Result RemoveOathToken(std::string_view id);

    // Resets the failed-login count and logs the login.
    void RecordLogin(std::string_view id, std::string_view how);
    // Counts a failed login (blocking the user when the policy says so) and logs it.
    void RecordFailedLogin(std::string_view id, std::string_view why);

    PasswordPolicy LoadPolicy();
    void SavePolicy(const PasswordPolicy &policy);

    Result AddAccessToken(std::string_view secretHash, std::string_view userId, int64_t expires);
    std::optional<AccessTokenRecord> FindAccessToken(std::string_view secretHash);
    Result RevokeAccessToken(std::string_view secretHash);
    // The live tokens of `userId`, or of every user when it is empty, oldest first.
    std::vector<AccessTokenListing> ListAccessTokens(std::string_view userId);
    // The live token of `userId` whose secret hash starts with `hashPrefix`.
    std::optional<AccessTokenListing> FindAccessTokenByPrefix(std::string_view userId,
                                                              std::string_view hashPrefix);
    uint64_t CountAccessTokens();
    // Deletes the tokens expired at `now` and the revoked ones; returns how many.
    uint64_t CollectAccessTokens(int64_t now);

    // The other stores of the users' partitions; register them before serving.
    PartitionMembers &partitions() { return partitions_; }

    void AppendEvent(std::string_view userId, std::string_view text);

  private:
    // REQUIRES: mutex_ held.
    void AppendEventLocked(std::string_view userId, std::string_view text);
    PasswordPolicy LoadPolicyLocked();
    Result UpdateUser(const char *sql, std::string_view id, int64_t value);

    PartitionMembers partitions_;
    std::mutex mutex_;
    Database db_;
    const Clock &clock_;
};

}  // namespace sim
