#pragma once
// A coordinator's link to one node, shared by the change under way and the confirmation of
// the change before, whose phase-2 answer may still be on its way: the link carries one
// answer per request in order, so the change under way uses it only once that answer is read.

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "replication/node_channel.h"

namespace sim {

class PeerLink {
  public:
    explicit PeerLink(std::unique_ptr<NodeLink> link) : link_(std::move(link)) {}
    PeerLink(const PeerLink &) = delete;
    PeerLink &operator=(const PeerLink &) = delete;

    // The link, once no answer owed to an earlier change is unread.
    NodeLink &Take();
    // The answer to the request just sent is owed to a confirmation: nobody else reads or
    // writes until ReadOwed. REQUIRES: the caller took the link.
    void Owe();
    // Reads the owed answer (within the link's timeout) and frees the link.
    Result ReadOwed();

    const std::string &address() const { return link_->address(); }

  private:
    const std::unique_ptr<NodeLink> link_;
    std::mutex mutex_;
    std::condition_variable read_;
    bool owed_ = false;  // guarded by mutex_
};

}  // namespace sim
