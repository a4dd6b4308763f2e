#pragma once
// Which client hosts the HSM admits: the rule over the filter's entries, apart from where
// they are kept, so the acceptor, the login and the filter's own changes apply one rule.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// A host the filter admits: every user from it, or only `user`.
struct IpFilterEntry {
    std::string host;  // IPv4, dotted as inet_ntop writes it
    std::string user;  // empty: any user

    bool operator==(const IpFilterEntry &) const = default;
};

struct IpFilter {
    bool enabled = false;
    std::vector<IpFilterEntry> entries;
};

// True when a connection from `host` may go on towards a login: the filter is off, or an
// entry names the host (for any user or for one).
bool AdmitsHost(const IpFilter &filter, std::string_view host);

// True when `user` may log in from `host`: the filter is off, or an entry of the host is
// for any user or for `user`. An anonymous login is `user` "".
bool AdmitsUser(const IpFilter &filter, std::string_view host, std::string_view user);

// The address in the one form entries are kept in, or nullopt when `text` is not a dotted
// IPv4 address.
std::optional<std::string> CanonicalHost(std::string_view text);

}  // namespace sim
