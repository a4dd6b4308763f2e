#include "eftd/host_key_cache.h"

#include "policy/eftd_config.h"
#include "service/partition_keys.h"

namespace sim {

namespace {

// A host that names ever new keys starts over instead of growing the cache.
constexpr size_t kMaxKeys = 64;

}  // namespace

Result HostKeyCache::Open(std::string_view name, bool desFamily, uint32_t *algorithm,
                          SecretBytes *material) {
    // Read before the key: a change that comes in between leaves the entry at the older
    // generation, so it is read again next time.
    const uint64_t generation = hsm_.keys.Generation();
    if (generation != generation_) {
        entries_.clear();
        generation_ = generation;
    }
    auto found = entries_.find(name);
    if (found == entries_.end()) {
        Entry entry;
        if (Result r = OpenKey(hsm_, kEftdPartition, name, &entry.object, &entry.material);
            r != Result::kOk)
            return r;
        entry.object.sealed.clear();
        if (entries_.size() >= kMaxKeys) entries_.clear();
        found = entries_.emplace(std::string(name), std::move(entry)).first;
    }
    if (Result r = CheckUsable(found->second.object, desFamily); r != Result::kOk) return r;
    *algorithm = found->second.object.algorithm;
    *material = SecretBytes(found->second.material.view());
    return Result::kOk;
}

}  // namespace sim
