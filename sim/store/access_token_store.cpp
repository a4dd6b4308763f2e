#include "store/access_token_store.h"

namespace sim {

AccessTokenStore::AccessTokenStore(const DatabaseFile &file, const EventLog &events)
    : db_(file), events_(events) {}

Result AccessTokenStore::Add(Actor actor, std::string_view secretHash, std::string_view userId,
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
    events_.Append(db_, actor, "Access token of " + std::string(userId) + " created", kEventOk);
    tx.Commit();
    return Result::kOk;
}

std::optional<AccessTokenRecord> AccessTokenStore::Find(std::string_view secretHash) {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT user_id, expires, revoked FROM access_tokens WHERE secret_hash = ?");
    st.BindBlob(1, secretHash);
    if (!st.Step()) return std::nullopt;
    return AccessTokenRecord{st.Text(0), st.Int(1), st.Int(2) != 0};
}

Result AccessTokenStore::Revoke(Actor actor, std::string_view secretHash) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    std::string owner;
    {
        Statement st(
            db_, "UPDATE access_tokens SET revoked = 1 WHERE secret_hash = ? RETURNING user_id");
        if (!st.BindBlob(1, secretHash).Step()) return Result::kNotFound;
        owner = st.Text(0);
    }
    events_.Append(db_, actor, "Access token of " + owner + " revoked", kEventOk);
    tx.Commit();
    return Result::kOk;
}

std::vector<AccessTokenListing> AccessTokenStore::List(std::string_view userId) {
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

std::optional<AccessTokenListing> AccessTokenStore::FindByPrefix(std::string_view userId,
                                                                 std::string_view hashPrefix) {
    std::lock_guard lock(mutex_);
    Statement st(db_,
                 "SELECT user_id, expires, secret_hash FROM access_tokens "
                 "WHERE revoked = 0 AND user_id = ? AND substr(secret_hash, 1, ?) = ?");
    st.Bind(1, userId).Bind(2, static_cast<int64_t>(hashPrefix.size())).BindBlob(3, hashPrefix);
    if (!st.Step()) return std::nullopt;
    return AccessTokenListing{st.Text(0), st.Int(1), st.Blob(2)};
}

uint64_t AccessTokenStore::Count() {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT count(*) FROM access_tokens WHERE revoked = 0");
    return st.Step() ? static_cast<uint64_t>(st.Int(0)) : 0;
}

uint64_t AccessTokenStore::Collect(Actor actor, int64_t now) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_,
              "DELETE FROM access_tokens WHERE revoked <> 0 OR (expires <> 0 AND expires <= ?)")
        .Bind(1, now)
        .Run();
    auto removed = static_cast<uint64_t>(sqlite3_changes(db_.handle()));
    if (removed != 0)
        events_.Append(db_, actor, "Access tokens collected: " + std::to_string(removed), kEventOk);
    tx.Commit();
    return removed;
}

}  // namespace sim
