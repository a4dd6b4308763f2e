#include "policy/ip_filter.h"

#include <arpa/inet.h>

#include <algorithm>

namespace sim {

bool AdmitsHost(const IpFilter &filter, std::string_view host) {
    return !filter.enabled ||
           std::any_of(filter.entries.begin(), filter.entries.end(),
                       [&](const IpFilterEntry &entry) { return entry.host == host; });
}

bool AdmitsUser(const IpFilter &filter, std::string_view host, std::string_view user) {
    return !filter.enabled ||
           std::any_of(filter.entries.begin(), filter.entries.end(),
                       [&](const IpFilterEntry &entry) {
                           return entry.host == host && (entry.user.empty() || entry.user == user);
                       });
}

std::optional<std::string> CanonicalHost(std::string_view text) {
    const std::string copy(text);
    in_addr address{};
    char canonical[INET_ADDRSTRLEN] = {};
    if (::inet_pton(AF_INET, copy.c_str(), &address) != 1 ||
        ::inet_ntop(AF_INET, &address, canonical, sizeof canonical) == nullptr)
        return std::nullopt;
    return std::string(canonical);
}

}  // namespace sim
