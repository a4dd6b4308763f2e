#pragma once
// An open session: its connection and the lock that keeps one request in flight at a time.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "connection.h"
#include "status.h"
#include "user_listing.h"

namespace qelvoarc {

// Thread-safe: calls from several threads are serialised.
class Session {
  public:
    explicit Session(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {}

    // Runs `exchange(connection, request, response)` under the session's lock, with the
    // request and response objects the session reuses; ERR_INVALID_HANDLE once closed (its
    // handle was released meanwhile). Remote (remote_call.h) is the one caller.
    template <class Body>
    [[nodiscard]] uint32_t Exchange(Body &&exchange) {
        std::lock_guard lock(mutex_);
        if (connection_ == nullptr) return wire::ERR_INVALID_HANDLE;
        CollectOwedReply();
        ++exchanges_;
        request_.Clear();
        return exchange(*connection_, request_, response_);
    }

    // Keeps the user list being read. REQUIRES: called from the copy-out step of a Remote on
    // this session, under its lock.
    void KeepUserListing(std::shared_ptr<const UserListing> listing) {
        userListing_ = std::move(listing);
        listingExchange_ = exchanges_;
    }

    // The kept user list while no other exchange followed it; null otherwise.
    std::shared_ptr<const UserListing> CurrentUserListing() {
        std::lock_guard lock(mutex_);
        return listingExchange_ == exchanges_ ? userListing_ : nullptr;
    }

    // Logs out (best effort) and drops the connection. Later calls fail; idempotent.
    void Close();

    // Runs `body` on the connection under the session's lock; ERR_INVALID_HANDLE once closed.
    template <class Body>
    [[nodiscard]] uint32_t WithConnection(Body &&body) {
        std::lock_guard lock(mutex_);
        if (connection_ == nullptr) return wire::ERR_INVALID_HANDLE;
        CollectOwedReply();
        return body(*connection_);
    }

    // A request was sent ahead of need and its reply not read: `collect` reads it before the
    // next exchange of any kind, so that no other request takes it for its own. REQUIRES:
    // called from a WithConnection body, under the lock.
    void OweReply(std::function<void(Connection &)> collect) { owed_ = std::move(collect); }

  private:
    void CollectOwedReply() {
        if (!owed_) return;
        std::function<void(Connection &)> collect = std::move(owed_);
        owed_ = nullptr;
        collect(*connection_);
    }

    std::mutex mutex_;
    std::unique_ptr<Connection> connection_;
    pb::Request request_;  // reused so a warm session allocates nothing per call
    pb::Response response_;
    uint64_t exchanges_ = 0;
    std::shared_ptr<const UserListing> userListing_;
    uint64_t listingExchange_ = 0;
    std::function<void(Connection &)> owed_;
};

}  // namespace qelvoarc
