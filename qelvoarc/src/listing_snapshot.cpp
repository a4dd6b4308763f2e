#include "listing_snapshot.h"

#include <mutex>

namespace qelvoarc {

namespace {

std::mutex gMutex;
std::unordered_map<const Session *, ListingScope *> gScopes;

}  // namespace

ListingScope::ListingScope(const Session *session, const std::vector<pb::ObjectInfo> &objects)
    : session_(session) {
    objects_.reserve(objects.size());
    for (const pb::ObjectInfo &info : objects)
        objects_.emplace(info.name(), info);
    std::lock_guard lock(gMutex);
    auto [it, inserted] = gScopes.try_emplace(session_, this);
    outer_ = inserted ? nullptr : it->second;
    it->second = this;
}

ListingScope::~ListingScope() {
    std::lock_guard lock(gMutex);
    if (outer_ != nullptr)
        gScopes[session_] = outer_;
    else
        gScopes.erase(session_);
}

std::optional<pb::ObjectInfo> FindListed(const Session *session, const std::string &name) {
    std::lock_guard lock(gMutex);
    auto scope = gScopes.find(session);
    if (scope == gScopes.end()) return std::nullopt;
    auto it = scope->second->objects_.find(name);
    if (it == scope->second->objects_.end()) return std::nullopt;
    return it->second;
}

}  // namespace qelvoarc

namespace qelvoarc {

void ForgetListed(const Session *session, const std::string &name) {
    std::lock_guard lock(gMutex);
    auto scope = gScopes.find(session);
    if (scope == gScopes.end()) return;
    for (ListingScope *listing = scope->second; listing != nullptr; listing = listing->outer_)
        listing->objects_.erase(name);
}

}  // namespace qelvoarc
