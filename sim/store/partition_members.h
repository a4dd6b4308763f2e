#pragma once
// The stores that keep data inside a user's partition (keys, objects, ...). Each registers
// how to count and how to remove its share, so that the user store can report a partition
// and remove a user without knowing those stores. Thread-safe.

#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>
#include <vector>

#include "store/actor.h"

namespace sim {

struct ObjectCount {
    uint32_t objectType = 0;
    uint64_t count = 0;
};

struct PartitionMember {
    // Removes everything of the partition on behalf of `actor`; throws (StoreError) when it
    // cannot.
    std::function<void(Actor actor, std::string_view userId)> removeAll;
    // The partition's objects by type; types without objects may be left out.
    std::function<std::vector<ObjectCount>(std::string_view userId)> count;
};

class PartitionMembers {
  public:
    // REQUIRES: both functions set; they must stay callable for the store's life.
    void Add(PartitionMember member);
    // Runs every member's removeAll; the first exception stops and propagates.
    void RemoveAll(Actor actor, std::string_view userId) const;
    // Every member's counts, in registration order.
    std::vector<ObjectCount> Count(std::string_view userId) const;

  private:
    mutable std::mutex mutex_;
    std::vector<PartitionMember> members_;
};

}  // namespace sim
