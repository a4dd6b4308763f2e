#include "replication/peer_link.h"

namespace sim {

NodeLink &PeerLink::Take() {
    std::unique_lock lock(mutex_);
    read_.wait(lock, [this] { return !owed_; });
    return *link_;
}

void PeerLink::Owe() {
    std::lock_guard lock(mutex_);
    owed_ = true;
}

Result PeerLink::ReadOwed() {
    // Alone on the link until owed_ is cleared: Take waits for that.
    wire::pb::NodeResponse response;
    const Result result = link_->Receive(&response);
    {
        std::lock_guard lock(mutex_);
        owed_ = false;
    }
    read_.notify_all();
    return result;
}

}  // namespace sim
