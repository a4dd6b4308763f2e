#pragma once
// While QListObjs hands its names to the caller, the objects it listed (fetched with their
// attributes in the same request) answer QGetUserKey and QManageObjMetadata on that session
// without a round trip: a console listing opens every object from inside the callback.

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "key_object.h"

namespace qelvoarc {

// Publishes a listing of `session` for the lifetime of the scope. Scopes on one session may
// nest (a callback listing again); the innermost one answers. Thread-safe.
class ListingScope {
  public:
    ListingScope(const Session *session, const std::vector<pb::ObjectInfo> &objects);
    ~ListingScope();
    ListingScope(const ListingScope &) = delete;
    ListingScope &operator=(const ListingScope &) = delete;

  private:
    const Session *session_;
    std::unordered_map<std::string, pb::ObjectInfo> objects_;
    ListingScope *outer_;

    friend std::optional<pb::ObjectInfo> FindListed(const Session *, const std::string &);
    friend void ForgetListed(const Session *, const std::string &);
};

// The listed object `name` of the session's current listing, if one is being delivered.
std::optional<pb::ObjectInfo> FindListed(const Session *session, const std::string &name);

// Drops `name` from the session's listings (it was removed or replaced meanwhile).
void ForgetListed(const Session *session, const std::string &name);

}  // namespace qelvoarc
