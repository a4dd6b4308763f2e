#pragma once
// The user list as the HSM answered it, with each user's ACL and object counts. The calls
// the console makes for every listed user right after the list (QGetUserAcl, QGetUserParam
// for the object counts) are answered from it while it is the session's latest exchange,
// so a list of n users costs one exchange instead of 2n + 1.

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "qelvoarc.h"

namespace qelvoarc {

struct UserListing {
    struct Entry {
        uint32_t acl = 0;
        std::vector<QObjectCountEntry> counts;
    };
    std::unordered_map<std::string, Entry> users;
};

}  // namespace qelvoarc
