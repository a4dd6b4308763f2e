#include "store/user_store.h"

#include <cstdio>

#include "constants.pb.h"
#include "store/password_policy_store.h"

namespace sim {

namespace {

std::string Hex(uint32_t value) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

// How a line names the account a change acted on: "<what> of <id>" for a part of it,
// "User <id>" for the account itself.
std::string Of(std::string_view what, std::string_view id) {
    return std::string(what) + " of " + std::string(id);
}

std::string UserNamed(std::string_view id) {
    return "User " + std::string(id);
}

}  // namespace

UserStore::UserStore(const DatabaseFile &file, const Clock &clock, const EventLog &events)
    : db_(file), clock_(clock), events_(events) {}

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

Result UserStore::AddUser(Actor actor, std::string_view id, const std::string &passwordHash,
                          uint32_t acl) {
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
    events_.Append(db_, actor, UserNamed(id) + " created with ACL " + Hex(acl), kEventOk);
    tx.Commit();
    return Result::kOk;
}

Result UserStore::UpdateUser(Actor actor, const char *sql, std::string_view id, int64_t value,
                             std::string_view operation) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, sql).Bind(1, value).Bind(2, id).Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    events_.Append(db_, actor, operation, kEventOk);
    tx.Commit();
    return Result::kOk;
}

Result UserStore::RemoveUser(Actor actor, std::string_view id) {
    if (!FindUser(id)) return Result::kNotFound;
    // Other stores first: should one fail, the account remains and removal can be retried,
    // whereas the reverse order could leave keys behind that no account owns.
    partitions_.RemoveAll(actor, id);
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "DELETE FROM users WHERE id = ?").Bind(1, id).Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    events_.Append(db_, actor, UserNamed(id) + " removed", kEventOk);
    tx.Commit();
    return Result::kOk;
}

Result UserStore::SetAcl(Actor actor, std::string_view id, uint32_t acl) {
    return UpdateUser(actor, "UPDATE users SET acl = ? WHERE id = ?", id, acl,
                      Of("ACL", id) + " set to " + Hex(acl));
}

Result UserStore::ChangeAclFlags(Actor actor, std::string_view id, uint32_t set, uint32_t clear) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement st(db_, "UPDATE users SET acl = (acl | ?) & ? WHERE id = ?");
    st.Bind(1, int64_t{set}).Bind(2, int64_t{~clear & 0xFFFFFFFFu}).Bind(3, id).Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    events_.Append(db_, actor, Of("ACL flags", id) + " set " + Hex(set) + ", cleared " + Hex(clear),
                   kEventOk);
    tx.Commit();
    return Result::kOk;
}

Result UserStore::SetPassword(Actor actor, std::string_view id, const std::string &passwordHash) {
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
    events_.Append(db_, actor, Of("Password", id) + " changed", kEventOk);
    tx.Commit();
    return Result::kOk;
}

Result UserStore::ExpirePassword(Actor actor, std::string_view id) {
    return UpdateUser(actor, "UPDATE users SET acl = acl | ? WHERE id = ?", id,
                      wire::pb::ACL_CHANGE_PASSWORD, Of("Password", id) + " expired");
}

Result UserStore::SetBlocked(Actor actor, std::string_view id, bool blocked) {
    return UpdateUser(actor, "UPDATE users SET blocked = ?, failed_logins = 0 WHERE id = ?", id,
                      blocked ? 1 : 0, UserNamed(id) + (blocked ? " blocked" : " unblocked"));
}

Result UserStore::SetCertificate(Actor actor, std::string_view id, std::string_view der) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement st(db_, "UPDATE users SET certificate = ? WHERE id = ?");
    if (der.empty())
        st.BindNull(1);
    else
        st.BindBlob(1, der);
    st.Bind(2, id).Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    events_.Append(db_, actor, Of("Certificate", id) + (der.empty() ? " removed" : " registered"),
                   kEventOk);
    tx.Commit();
    return Result::kOk;
}

Result UserStore::SetOathToken(Actor actor, std::string_view id, const OathState &state,
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
    events_.Append(db_, actor, Of("OATH token", id) + " assigned", kEventOk);
    tx.Commit();
    return Result::kOk;
}

Result UserStore::UseOathToken(Actor actor, std::string_view id, const OtpCheck &verify,
                               std::string_view event) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    std::optional<uint64_t> next;
    {
        Statement st(db_,
                     "SELECT kind, sealed_seed, counter, step, start_time FROM oath_tokens "
                     "WHERE user_id = ?");
        st.Bind(1, id);
        if (st.Step()) {
            OathState state;
            state.kind = static_cast<OathKind>(st.Int(0));
            state.counter = static_cast<uint64_t>(st.Int(2));
            state.step = static_cast<uint32_t>(st.Int(3));
            state.startTime = st.Int(4);
            next = verify(state, st.Blob(1));
        }
    }
    if (next)
        Statement(db_, "UPDATE oath_tokens SET counter = ? WHERE user_id = ?")
            .Bind(1, static_cast<int64_t>(*next))
            .Bind(2, id)
            .Run();
    if (!event.empty()) events_.Append(db_, actor, event, next ? kEventOk : "OTP invalid");
    tx.Commit();
    return next ? Result::kOk : Result::kOtpInvalid;
}

Result UserStore::RemoveOathToken(Actor actor, std::string_view id) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "DELETE FROM oath_tokens WHERE user_id = ?").Bind(1, id).Run();
    bool hadToken = sqlite3_changes(db_.handle()) > 0;
    Statement(db_, "UPDATE users SET acl = acl & ? WHERE id = ?")
        .Bind(1, int64_t{~uint32_t{wire::pb::ACL_OATH_2FA}})
        .Bind(2, id)
        .Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    events_.Append(db_, actor, Of("OATH token", id) + " removed",
                   hadToken ? kEventOk : "no token assigned");
    tx.Commit();
    return Result::kOk;
}

void UserStore::RecordLogin(std::string_view id, std::string_view how) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "UPDATE users SET failed_logins = 0 WHERE id = ?").Bind(1, id).Run();
    events_.Append(db_, Actor::User(id), "Login (" + std::string(how) + ")", kEventOk);
    tx.Commit();
}

void UserStore::RecordFailedLogin(std::string_view id, std::string_view why) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "UPDATE users SET failed_logins = failed_logins + 1 WHERE id = ?")
        .Bind(1, id)
        .Run();
    std::string outcome(why);
    bool block = false;
    {
        Statement count(db_, "SELECT failed_logins, blocked FROM users WHERE id = ?");
        count.Bind(1, id);
        block =
            count.Step() && count.Int(1) == 0 &&
            FailedLoginsBlock(PasswordPolicyStore::Read(db_), static_cast<uint32_t>(count.Int(0)));
    }
    if (block) {
        Statement(db_, "UPDATE users SET blocked = 1 WHERE id = ?").Bind(1, id).Run();
        outcome += "; user blocked";
    }
    events_.Append(db_, Actor::User(id), "Login", outcome);
    tx.Commit();
}

}  // namespace sim
