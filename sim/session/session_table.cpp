#include "session/session_table.h"

#include <algorithm>

namespace sim {

std::shared_ptr<Session> SessionTable::Open(std::string user, SessionKind kind, bool byAccessToken,
                                            SessionOrigin origin) {
    std::lock_guard lock(mutex_);
    if (sessions_.size() >= maxSessions_) return nullptr;
    auto session = std::make_shared<Session>();
    session->id = nextSessionId_++;
    session->user = std::move(user);
    session->kind = kind;
    session->byAccessToken = byAccessToken;
    session->origin = std::move(origin);
    sessions_.emplace(session->id, session);
    return session;
}

void SessionTable::Close(uint64_t sessionId) {
    std::lock_guard lock(mutex_);
    sessions_.erase(sessionId);
}

void SessionTable::EndSessionsOf(const std::string &user) {
    EndWhere([&](const Session &session) { return session.user == user; });
}

void SessionTable::EndAllBut(uint64_t keptId) {
    EndWhere([&](const Session &session) { return session.id != keptId; });
}

void SessionTable::EndWhere(const std::function<bool(const Session &)> &ends) {
    std::lock_guard lock(mutex_);
    std::erase_if(sessions_, [&](const auto &entry) {
        if (!ends(*entry.second)) return false;
        entry.second->ended = true;
        return true;
    });
}

std::vector<std::shared_ptr<const Session>> SessionTable::List() const {
    std::vector<std::shared_ptr<const Session>> open;
    {
        std::lock_guard lock(mutex_);
        for (const auto &[id, session] : sessions_)
            open.push_back(session);
    }
    // Ids are handed out in order.
    std::sort(open.begin(), open.end(), [](const auto &a, const auto &b) { return a->id < b->id; });
    return open;
}

size_t SessionTable::size() const {
    std::lock_guard lock(mutex_);
    return sessions_.size();
}

}  // namespace sim
