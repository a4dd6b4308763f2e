#include "store/ip_filter_store.h"

#include <algorithm>
#include <string>

namespace sim {

namespace {

std::string Describe(const IpFilterEntry &entry) {
    return entry.host +
           (entry.user.empty() ? std::string(" for any user") : " for user " + entry.user);
}

}  // namespace

IpFilterStore::IpFilterStore(const DatabaseFile &file, const EventLog &events)
    : db_(file), events_(events), current_(Read()) {}

IpFilter IpFilterStore::Load() {
    std::lock_guard lock(mutex_);
    return current_;
}

IpFilter IpFilterStore::Read() {
    IpFilter filter;
    {
        Statement state(db_, "SELECT enabled FROM ip_filter_state WHERE id = 1");
        filter.enabled = state.Step() && state.Int(0) != 0;
    }
    Statement entries(db_, "SELECT host, user_id FROM ip_filter_entries ORDER BY host, user_id");
    while (entries.Step())
        filter.entries.push_back({entries.Text(0), entries.Text(1)});
    return filter;
}

Result IpFilterStore::Add(Actor actor, const IpFilterEntry &entry) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    {
        Statement exists(db_, "SELECT 1 FROM ip_filter_entries WHERE host = ? AND user_id = ?");
        if (exists.Bind(1, entry.host).Bind(2, entry.user).Step()) return Result::kAlreadyExists;
    }
    Statement(db_, "INSERT INTO ip_filter_entries (host, user_id) VALUES (?, ?)")
        .Bind(1, entry.host)
        .Bind(2, entry.user)
        .Run();
    events_.Append(db_, actor, "IP filter entry added: " + Describe(entry), kEventOk);
    tx.Commit();
    current_ = Read();
    return Result::kOk;
}

Result IpFilterStore::Remove(const IpFilterRequester &requester, const IpFilterEntry &entry) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    IpFilter filter = Read();
    auto found = std::find(filter.entries.begin(), filter.entries.end(), entry);
    if (found == filter.entries.end()) return Result::kNotFound;
    filter.entries.erase(found);
    if (!AdmitsUser(filter, requester.host, requester.actor.id())) return Result::kIpFilterLockout;
    Statement(db_, "DELETE FROM ip_filter_entries WHERE host = ? AND user_id = ?")
        .Bind(1, entry.host)
        .Bind(2, entry.user)
        .Run();
    events_.Append(db_, requester.actor, "IP filter entry removed: " + Describe(entry), kEventOk);
    tx.Commit();
    current_ = std::move(filter);
    return Result::kOk;
}

Result IpFilterStore::SetEnabled(const IpFilterRequester &requester, bool enabled) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    IpFilter filter = Read();
    if (filter.enabled == enabled) return Result::kOk;
    filter.enabled = enabled;
    if (!AdmitsUser(filter, requester.host, requester.actor.id())) return Result::kIpFilterLockout;
    Statement(db_, "UPDATE ip_filter_state SET enabled = ? WHERE id = 1")
        .Bind(1, int64_t{enabled})
        .Run();
    events_.Append(db_, requester.actor, enabled ? "IP filter enabled" : "IP filter disabled",
                   kEventOk);
    tx.Commit();
    current_ = std::move(filter);
    return Result::kOk;
}

void IpFilterStore::RecordRefusedConnection(std::string_view host) {
    Record(Actor::Daemon(), "Connection from " + std::string(host));
}

void IpFilterStore::RecordRefusedLogin(std::string_view host, std::string_view user) {
    Record(Actor::User(user), "Login from " + std::string(host));
}

void IpFilterStore::Record(Actor actor, const std::string &operation) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    events_.Append(db_, actor, operation, "refused by the IP filter");
    tx.Commit();
}

}  // namespace sim
