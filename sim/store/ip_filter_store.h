#pragma once
// The IP filter: whether it is on and the hosts it admits. Thread-safe: every method runs
// under one mutex on its own SQLite connection; a change commits with its event-log line.
// Every connection is checked against a copy that each committed change renews, so a
// change applies to the next connection at once and an accept reads no database.

#include <mutex>
#include <string>
#include <string_view>

#include "core/result.h"
#include "policy/ip_filter.h"
#include "store/database.h"
#include "store/event_log.h"

namespace sim {

// Who asks for a change, and from where: a change that would keep this very client out
// from its next login is refused.
struct IpFilterRequester {
    Actor actor;
    std::string_view host;
};

class IpFilterStore {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `events` must outlive the store.
    IpFilterStore(const DatabaseFile &file, const EventLog &events);

    // The filter as the last committed change left it.
    IpFilter Load();

    // kOk; kAlreadyExists when the entry is there already.
    Result Add(Actor actor, const IpFilterEntry &entry);
    // kOk; kNotFound when no such entry exists; kIpFilterLockout when the filter is on and
    // the entry is what admits the requester.
    Result Remove(const IpFilterRequester &requester, const IpFilterEntry &entry);
    // kOk (also when the state is already that one); kIpFilterLockout when turning the
    // filter on would refuse the requester.
    Result SetEnabled(const IpFilterRequester &requester, bool enabled);

    // Record what the filter refused: a connection, before anything was read from it, or
    // the login of `user` (empty: anonymous) from a host whose entries are for other users.
    void RecordRefusedConnection(std::string_view host);
    void RecordRefusedLogin(std::string_view host, std::string_view user);

  private:
    IpFilter Read();
    void Record(Actor actor, const std::string &operation);

    std::mutex mutex_;
    Database db_;
    const EventLog &events_;
    IpFilter current_;
};

}  // namespace sim
