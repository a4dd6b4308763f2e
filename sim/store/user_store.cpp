#include "store/user_store.h"

#include "constants.pb.h"

namespace sim {

UserStore::UserStore(const std::string &path, const Clock &clock) : db_(path), clock_(clock) {}

std::optional<UserRecord> UserStore::FindUser(std::string_view id) {
    std::lock_guard lock(mutex_);
    Statement st(db_,
                 "SELECT id, password_hash, acl, blocked, failed_logins, password_changed, "
                 "certificate FROM users WHERE id = ?");
    st.Bind(1, id);
    if (!st.Step()) return std::nullopt;
    UserRecord user;
    user.id = st.Text(0);
    user.passwordHash = st.Text(1);
    user.acl = static_cast<uint32_t>(st.Int(2));
    user.blocked = st.Int(3) != 0;
    user.failedLogins = static_cast<uint32_t>(st.Int(4));
    user.passwordChanged = st.Int(5);
    user.certificate = st.Blob(6);
    return user;
}

bool UserStore::HasUsers() {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT 1 FROM users LIMIT 1");
    return st.Step();
}

std::vector<std::pair<std::string, uint32_t>> UserStore::ListUsers() {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT id, acl FROM users ORDER BY rowid");
    std::vector<std::pair<std::string, uint32_t>> users;
    while (st.Step())
        users.emplace_back(st.Text(0), static_cast<uint32_t>(st.Int(1)));
    return users;
}

Result UserStore::AddUser(std::string_view id, const std::string &passwordHash, uint32_t acl) {
    if (id.empty() || id.size() > kMaxUserIdLength) return Result::kInvalidParameter;
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement exists(db_, "SELECT 1 FROM users WHERE id = ?");
    exists.Bind(1, id);
    if (exists.Step()) return Result::kAlreadyExists;
    Statement(db_,
              "INSERT INTO users (id, password_hash, acl, password_changed) VALUES (?, ?, ?, ?)")
        .Bind(1, id)
        .Bind(2, passwordHash)
        .Bind(3, int64_t{acl})
        .Bind(4, clock_.Now())
        .Run();
    AppendEventLocked(id, "User created");
    tx.Commit();
    return Result::kOk;
}

Result UserStore::UpdateUser(const char *sql, std::string_view id, int64_t value) {
    Statement st(db_, sql);
    st.Bind(1, value).Bind(2, id).Run();
    return sqlite3_changes(db_.handle()) > 0 ? Result::kOk : Result::kNotFound;
}

Result UserStore::RemoveUser(std::string_view id) {
    if (!FindUser(id)) return Result::kNotFound;
    // Other stores first: should one fail, the account remains and removal can be retried,
    // whereas the reverse order could leave keys behind that no account owns.
    partitions_.RemoveAll(id);
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "DELETE FROM users WHERE id = ?").Bind(1, id).Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    AppendEventLocked(id, "User removed");
    tx.Commit();
    return Result::kOk;
}

Result UserStore::SetAcl(std::string_view id, uint32_t acl) {
    std::lock_guard lock(mutex_);
    return UpdateUser("UPDATE users SET acl = ? WHERE id = ?", id, acl);
}

Result UserStore::ChangeAclFlags(std::string_view id, uint32_t set, uint32_t clear) {
    std::lock_guard lock(mutex_);
    Statement st(db_, "UPDATE users SET acl = (acl | ?) & ? WHERE id = ?");
    st.Bind(1, int64_t{set}).Bind(2, int64_t{~clear & 0xFFFFFFFFu}).Bind(3, id).Run();
    return sqlite3_changes(db_.handle()) > 0 ? Result::kOk : Result::kNotFound;
}

Result UserStore::SetPassword(std::string_view id, const std::string &passwordHash) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_,
              "UPDATE users SET password_hash = ?, password_changed = ?, acl = acl & ? "
              "WHERE id = ?")
        .Bind(1, passwordHash)
        .Bind(2, clock_.Now())
        .Bind(3, int64_t{~uint32_t{wire::pb::ACL_CHANGE_PASSWORD}})
        .Bind(4, id)
        .Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    AppendEventLocked(id, "Password changed");
    tx.Commit();
    return Result::kOk;
}

Result UserStore::ExpirePassword(std::string_view id) {
    std::lock_guard lock(mutex_);
    return UpdateUser("UPDATE users SET acl = acl | ? WHERE id = ?", id,
                      wire::pb::ACL_CHANGE_PASSWORD);
}

Result UserStore::SetBlocked(std::string_view id, bool blocked) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Result result = UpdateUser("UPDATE users SET blocked = ?, failed_logins = 0 WHERE id = ?", id,
                               blocked ? 1 : 0);
    if (result != Result::kOk) return result;
    AppendEventLocked(id, blocked ? "User blocked" : "User unblocked");
    tx.Commit();
    return Result::kOk;
}

Result UserStore::SetCertificate(std::string_view id, std::string_view der) {
    std::lock_guard lock(mutex_);
    Statement st(db_, "UPDATE users SET certificate = ? WHERE id = ?");
    if (der.empty())
        st.BindNull(1);
    else
        st.BindBlob(1, der);
    st.Bind(2, id).Run();
    return sqlite3_changes(db_.handle()) > 0 ? Result::kOk : Result::kNotFound;
}

Result UserStore::SetOathToken(std::string_view id, const OathState &state,
                               const std::string &sealedSeed) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement exists(db_, "SELECT 1 FROM users WHERE id = ?");
    exists.Bind(1, id);
    if (!exists.Step()) return Result::kNotFound;
    Statement(db_,
              "INSERT OR REPLACE INTO oath_tokens (user_id, kind, sealed_seed, counter, step, "
              "start_time) VALUES (?, ?, ?, ?, ?, ?)")
        .Bind(1, id)
        .Bind(2, static_cast<int64_t>(state.kind))
        .BindBlob(3, sealedSeed)
        .Bind(4, static_cast<int64_t>(state.counter))
        .Bind(5, int64_t{state.step})
        .Bind(6, state.startTime)
        .Run();
    AppendEventLocked(id, "OATH token assigned");
    tx.Commit();
    return Result::kOk;
}

Result UserStore::UseOathToken(std::string_view id, const OtpCheck &verify) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement st(db_,
                 "SELECT kind, sealed_seed, counter, step, start_time FROM oath_tokens "
                 "WHERE user_id = ?");
    st.Bind(1, id);
    if (!st.Step()) return Result::kOtpInvalid;
    OathState state;
    state.kind = static_cast<OathKind>(st.Int(0));
    std::string sealed = st.Blob(1);
    state.counter = static_cast<uint64_t>(st.Int(2));
    state.step = static_cast<uint32_t>(st.Int(3));
    state.startTime = st.Int(4);
    std::optional<uint64_t> next = verify(state, sealed);
    if (!next) return Result::kOtpInvalid;
    Statement(db_, "UPDATE oath_tokens SET counter = ? WHERE user_id = ?")
        .Bind(1, static_cast<int64_t>(*next))
        .Bind(2, id)
        .Run();
    tx.Commit();
    return Result::kOk;
}

Result UserStore::RemoveOathToken(std::string_view id) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "DELETE FROM oath_tokens WHERE user_id = ?").Bind(1, id).Run();
    bool hadToken = sqlite3_changes(db_.handle()) > 0;
    Statement(db_, "UPDATE users SET acl = acl & ? WHERE id = ?")
        .Bind(1, int64_t{~uint32_t{wire::pb::ACL_OATH_2FA}})
        .Bind(2, id)
        .Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    if (hadToken) AppendEventLocked(id, "OATH token removed");
    tx.Commit();
    return Result::kOk;
}

void UserStore::RecordLogin(std::string_view id, std::string_view how) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "UPDATE users SET failed_logins = 0 WHERE id = ?").Bind(1, id).Run();
    AppendEventLocked(id, std::string("Login (") + std::string(how) + ")");
    tx.Commit();
}

void UserStore::RecordFailedLogin(std::string_view id, std::string_view why) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "UPDATE users SET failed_logins = failed_logins + 1 WHERE id = ?")
        .Bind(1, id)
        .Run();
    std::string text = std::string("Login failed (") + std::string(why) + ")";
    Statement count(db_, "SELECT failed_logins, blocked FROM users WHERE id = ?");
    count.Bind(1, id);
    if (count.Step() && count.Int(1) == 0 &&
        FailedLoginsBlock(LoadPolicyLocked(), static_cast<uint32_t>(count.Int(0)))) {
        Statement(db_, "UPDATE users SET blocked = 1 WHERE id = ?").Bind(1, id).Run();
        text += ", user blocked";
    }
    AppendEventLocked(id, text);
    tx.Commit();
}

PasswordPolicy UserStore::LoadPolicy() {
    std::lock_guard lock(mutex_);
    return LoadPolicyLocked();
}

PasswordPolicy UserStore::LoadPolicyLocked() {
    Statement st(db_,
                 "SELECT invalid_logins, expiry_days, min_length, specials, uppercase, "
                 "lowercase FROM password_policy WHERE id = 1");
    PasswordPolicy policy;
    if (!st.Step()) return policy;
    policy.invalidLogins = static_cast<uint8_t>(st.Int(0));
    policy.expiryDays = static_cast<uint8_t>(st.Int(1));
    policy.minLength = static_cast<uint8_t>(st.Int(2));
    policy.specials = static_cast<uint8_t>(st.Int(3));
    policy.uppercase = static_cast<uint8_t>(st.Int(4));
    policy.lowercase = static_cast<uint8_t>(st.Int(5));
    return policy;
}

void UserStore::SavePolicy(const PasswordPolicy &policy) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_,
              "UPDATE password_policy SET invalid_logins = ?, expiry_days = ?, min_length = ?, "
              "specials = ?, uppercase = ?, lowercase = ? WHERE id = 1")
        .Bind(1, int64_t{policy.invalidLogins})
        .Bind(2, int64_t{policy.expiryDays})
        .Bind(3, int64_t{policy.minLength})
        .Bind(4, int64_t{policy.specials})
        .Bind(5, int64_t{policy.uppercase})
        .Bind(6, int64_t{policy.lowercase})
        .Run();
    AppendEventLocked("", "Password policy changed");
    tx.Commit();
}

Result UserStore::AddAccessToken(std::string_view secretHash, std::string_view userId,
                                 int64_t expires) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement exists(db_, "SELECT 1 FROM users WHERE id = ?");
    exists.Bind(1, userId);
    if (!exists.Step()) return Result::kNotFound;
    Statement(db_, "INSERT INTO access_tokens (secret_hash, user_id, expires) VALUES (?, ?, ?)")
        .BindBlob(1, secretHash)
        .Bind(2, userId)
        .Bind(3, expires)
        .Run();
    AppendEventLocked(userId, "Access token created");
    tx.Commit();
    return Result::kOk;
}

std::optional<AccessTokenRecord> UserStore::FindAccessToken(std::string_view secretHash) {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT user_id, expires, revoked FROM access_tokens WHERE secret_hash = ?");
    st.BindBlob(1, secretHash);
    if (!st.Step()) return std::nullopt;
    return AccessTokenRecord{st.Text(0), st.Int(1), st.Int(2) != 0};
}

Result UserStore::RevokeAccessToken(std::string_view secretHash) {
    std::lock_guard lock(mutex_);
    Statement(db_, "UPDATE access_tokens SET revoked = 1 WHERE secret_hash = ?")
        .BindBlob(1, secretHash)
        .Run();
    return sqlite3_changes(db_.handle()) > 0 ? Result::kOk : Result::kNotFound;
}

std::vector<AccessTokenListing> UserStore::ListAccessTokens(std::string_view userId) {
    std::lock_guard lock(mutex_);
    Statement st(db_,
                 "SELECT user_id, expires, secret_hash FROM access_tokens "
                 "WHERE revoked = 0 AND (? = '' OR user_id = ?) ORDER BY rowid");
    st.Bind(1, userId).Bind(2, userId);
    std::vector<AccessTokenListing> tokens;
    while (st.Step())
        tokens.push_back({st.Text(0), st.Int(1), st.Blob(2)});
    return tokens;
}

std::optional<AccessTokenListing> UserStore::FindAccessTokenByPrefix(std::string_view userId,
                                                                     std::string_view hashPrefix) {
    std::lock_guard lock(mutex_);
    Statement st(db_,
                 "SELECT user_id, expires, secret_hash FROM access_tokens "
                 "WHERE revoked = 0 AND user_id = ? AND substr(secret_hash, 1, ?) = ?");
    st.Bind(1, userId).Bind(2, static_cast<int64_t>(hashPrefix.size())).BindBlob(3, hashPrefix);
    if (!st.Step()) return std::nullopt;
    return AccessTokenListing{st.Text(0), st.Int(1), st.Blob(2)};
}

uint64_t UserStore::CountAccessTokens() {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT count(*) FROM access_tokens WHERE revoked = 0");
    return st.Step() ? static_cast<uint64_t>(st.Int(0)) : 0;
}

uint64_t UserStore::CollectAccessTokens(int64_t now) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_,
              "DELETE FROM access_tokens WHERE revoked <> 0 OR (expires <> 0 AND expires <= ?)")
        .Bind(1, now)
        .Run();
    auto removed = static_cast<uint64_t>(sqlite3_changes(db_.handle()));
    if (removed != 0) AppendEventLocked("", "Access tokens collected");
    tx.Commit();
    return removed;
}

void UserStore::AppendEvent(std::string_view userId, std::string_view text) {
    std::lock_guard lock(mutex_);
    AppendEventLocked(userId, text);
}

void UserStore::AppendEventLocked(std::string_view userId, std::string_view text) {
    Statement(db_, "INSERT INTO event_log (time, user_id, text) VALUES (?, ?, ?)")
        .Bind(1, clock_.Now())
        .Bind(2, userId)
        .Bind(3, text)
        .Run();
}

}  // namespace sim
