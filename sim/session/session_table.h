#pragma once
// The sessions open on the HSM. Thread-safe.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "session/session.h"

namespace sim {

class SessionTable {
  public:
    explicit SessionTable(size_t maxSessions) : maxSessions_(maxSessions) {}

    // A new session with a fresh id, or null when the limit is reached. The table keeps a
    // reference until Close.
    std::shared_ptr<Session> Open(std::string user, SessionKind kind, bool byAccessToken,
                                  SessionOrigin origin = {});
    void Close(uint64_t sessionId);
    // The open sessions in the order they were opened. A session is not changed after it
    // opened, except for `ended` and its hashes, which the caller must not touch.
    std::vector<std::shared_ptr<const Session>> List() const;
    // Ends every session of `user` (see Session::ended) and forgets them.
    void EndSessionsOf(const std::string &user);
    // Ends every session but `keptId` (see Session::ended) and forgets them.
    void EndAllBut(uint64_t keptId);
    size_t size() const;

    // Hash ids are unique across all sessions and never reused, so a stale or foreign id
    // can never reach another context.
    uint64_t NextHashId() { return nextHashId_.fetch_add(1); }

  private:
    void EndWhere(const std::function<bool(const Session &)> &ends);

    const size_t maxSessions_;
    mutable std::mutex mutex_;
    std::unordered_map<uint64_t, std::shared_ptr<Session>> sessions_;
    uint64_t nextSessionId_ = 1;
    std::atomic<uint64_t> nextHashId_{1};
};

}  // namespace sim
