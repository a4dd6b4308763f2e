#pragma once
// Who performed a change: the `user` of its event-log line. Every store method that changes
// something takes one, so a line never takes the account it acts on for the one acting.

#include <string_view>

namespace sim {

class Actor {
  public:
    // An account acting: a session's user, or the user logging in.
    static Actor User(std::string_view id) { return Actor(id); }
    // The daemon's own events (its start) and orvena-simctl's commands on the data directory.
    static Actor Daemon() { return Actor({}); }

    // Empty for the daemon. A view: an Actor lives no longer than the call it is passed to.
    std::string_view id() const { return id_; }

  private:
    explicit Actor(std::string_view id) : id_(id) {}

    std::string_view id_;
};

}  // namespace sim
