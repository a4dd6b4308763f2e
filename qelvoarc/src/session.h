#pragma once
// An open session: its connection and the lock that keeps one request in flight at a time.

#include <openssl/crypto.h>

#include <cstdint>
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

    // Sends the request that `fill` builds and, when the HSM answered OK, lets `read` take
    // the results. Returns the transport status, else the HSM's status, else read's result.
    // A closed session gives ERR_INVALID_HANDLE (its handle was released meanwhile).
    template <class Fill, class Read>
    uint32_t Call(Fill &&fill, Read &&read) {
        return Exchange(fill, read, nullptr);
    }

    template <class Fill>
    uint32_t Call(Fill &&fill) {
        return Exchange(fill, kIgnoreResponse, nullptr);
    }

    // As Call for a request that carries a secret: once sent, the serialised copy is wiped
    // and `wipe` overwrites the secret fields of the request (kept for reuse).
    template <class Fill>
    uint32_t CallWithSecret(Fill &&fill, void (*wipe)(pb::Request &)) {
        return Exchange(fill, kIgnoreResponse, wipe);
    }

    template <class Fill, class Read>
    uint32_t CallWithSecret(Fill &&fill, Read &&read, void (*wipe)(pb::Request &)) {
        return Exchange(fill, read, wipe);
    }

    // As CallWithSecret, with `read` taking the results as in Call.
    template <class Fill, class Read>
    uint32_t CallWithSecret(Fill &&fill, void (*wipe)(pb::Request &), Read &&read) {
        return Exchange(fill, read, wipe);
    }

    // Keeps the user list being read. REQUIRES: called from a read function of Call, under
    // the session's lock.
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
    uint32_t WithConnection(Body &&body) {
        std::lock_guard lock(mutex_);
        if (connection_ == nullptr) return wire::ERR_INVALID_HANDLE;
        return body(*connection_);
    }

  private:
    static constexpr auto kIgnoreResponse = [](const pb::Response &) { return 0u; };

    template <class Fill, class Read>
    uint32_t Exchange(Fill &fill, Read &read, void (*wipe)(pb::Request &)) {
        std::lock_guard lock(mutex_);
        if (connection_ == nullptr) return wire::ERR_INVALID_HANDLE;
        ++exchanges_;
        request_.Clear();
        fill(request_);
        uint32_t status = connection_->RoundTrip(request_, &response_, wipe != nullptr);
        if (wipe != nullptr) wipe(request_);
        if (status != wire::OK) return status;
        if (response_.status() != wire::OK) return response_.status();
        uint32_t result = read(static_cast<const pb::Response &>(response_));
        // Answers may carry secrets (new access tokens, random bytes): none stays behind.
        std::string *data = response_.mutable_data();
        OPENSSL_cleanse(data->data(), data->size());
        return result;
    }

    std::mutex mutex_;
    std::unique_ptr<Connection> connection_;
    pb::Request request_;  // reused so a warm session allocates nothing per call
    pb::Response response_;
    uint64_t exchanges_ = 0;
    std::shared_ptr<const UserListing> userListing_;
    uint64_t listingExchange_ = 0;
};

}  // namespace qelvoarc
