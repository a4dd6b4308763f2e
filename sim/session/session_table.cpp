#include "session/session_table.h"

namespace sim {

std::shared_ptr<Session> SessionTable::Open(std::string user, SessionKind kind,
                                            bool byAccessToken) {
    std::lock_guard lock(mutex_);
    if (sessions_.size() >= maxSessions_) return nullptr;
    auto session = std::make_shared<Session>();
    session->id = nextSessionId_++;
    session->user = std::move(user);
    session->kind = kind;
    session->byAccessToken = byAccessToken;
    sessions_.emplace(session->id, session);
    return session;
}

void SessionTable::Close(uint64_t sessionId) {
    std::lock_guard lock(mutex_);
    sessions_.erase(sessionId);
}

void SessionTable::EndSessionsOf(const std::string &user) {
    std::lock_guard lock(mutex_);
    std::erase_if(sessions_, [&](const auto &entry) {
        if (entry.second->user != user) return false;
        entry.second->ended = true;
        return true;
    });
}

size_t SessionTable::size() const {
    std::lock_guard lock(mutex_);
    return sessions_.size();
}

}  // namespace sim
