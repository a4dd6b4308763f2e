#pragma once
// Ownership of one library handle: released exactly once by `Releaser`, never when empty
// (the handle type's zero value). Move-only.

#include <utility>

template <typename Handle, typename Releaser>
class OwnedHandle {
  public:
    OwnedHandle() = default;
    explicit OwnedHandle(Handle handle) : handle_(handle) {}
    ~OwnedHandle() { Reset(); }

    OwnedHandle(const OwnedHandle &) = delete;
    OwnedHandle &operator=(const OwnedHandle &) = delete;
    OwnedHandle(OwnedHandle &&other) noexcept : handle_(other.Release()) {}
    OwnedHandle &operator=(OwnedHandle &&other) noexcept {
        if (this != &other) {
            Reset();
            handle_ = other.Release();
        }
        return *this;
    }

    Handle Get() const { return handle_; }
    explicit operator bool() const { return handle_ != Handle{}; }

    // For a library call that stores a new handle: releases the current one first.
    Handle *Out() {
        Reset();
        return &handle_;
    }

    // Gives the handle up without releasing it.
    Handle Release() { return std::exchange(handle_, Handle{}); }

    void Reset() {
        if (handle_ != Handle{}) Releaser{}(std::exchange(handle_, Handle{}));
    }

  private:
    Handle handle_{};
};
