#include "store/partition_members.h"

namespace sim {

void PartitionMembers::Add(PartitionMember member) {
    std::lock_guard lock(mutex_);
    members_.push_back(std::move(member));
}

void PartitionMembers::RemoveAll(Actor actor, std::string_view userId) const {
    std::lock_guard lock(mutex_);
    for (const PartitionMember &member : members_)
        member.removeAll(actor, userId);
}

std::vector<ObjectCount> PartitionMembers::Count(std::string_view userId) const {
    std::lock_guard lock(mutex_);
    std::vector<ObjectCount> counts;
    for (const PartitionMember &member : members_) {
        std::vector<ObjectCount> part = member.count(userId);
        counts.insert(counts.end(), part.begin(), part.end());
    }
    return counts;
}

}  // namespace sim
