#pragma once
// Typed tables of the opaque handles given to callers.

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace qelvoarc {

// A new handle value, unique for the life of the process across all tables, so a released
// handle or one of another kind can never be mistaken for a live one. Thread-safe.
uint64_t NextHandle();

// Handles of one kind. Objects are shared so a call in progress keeps its object alive while
// another thread releases the handle. Thread-safe.
template <class T>
class HandleTable {
  public:
    uint64_t Add(std::shared_ptr<T> object) {
        uint64_t handle = NextHandle();
        std::lock_guard lock(mutex_);
        entries_.emplace(handle, std::move(object));
        return handle;
    }

    // Null when the handle is not a live handle of this table.
    std::shared_ptr<T> Find(uint64_t handle) const {
        std::lock_guard lock(mutex_);
        auto it = entries_.find(handle);
        return it == entries_.end() ? nullptr : it->second;
    }

    // Takes the object out of the table; null when the handle is not live.
    std::shared_ptr<T> Remove(uint64_t handle) {
        std::lock_guard lock(mutex_);
        auto it = entries_.find(handle);
        if (it == entries_.end()) return nullptr;
        std::shared_ptr<T> object = std::move(it->second);
        entries_.erase(it);
        return object;
    }

    // Empties the table and hands back what it held, so the caller can release the objects
    // outside the table's lock.
    std::vector<std::shared_ptr<T>> TakeAll() {
        std::lock_guard lock(mutex_);
        std::vector<std::shared_ptr<T>> objects;
        objects.reserve(entries_.size());
        for (auto &entry : entries_)
            objects.push_back(std::move(entry.second));
        entries_.clear();
        return objects;
    }

  private:
    mutable std::mutex mutex_;
    std::unordered_map<uint64_t, std::shared_ptr<T>> entries_;
};

}  // namespace qelvoarc
