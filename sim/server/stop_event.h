#pragma once
// A level-triggered event that wakes threads blocked in poll(): once set, stays set.

namespace sim {

class StopEvent {
  public:
    StopEvent();  // throws std::system_error when no eventfd is available
    ~StopEvent();
    StopEvent(const StopEvent &) = delete;
    StopEvent &operator=(const StopEvent &) = delete;

    void Set();
    // Waits until `fd` is readable (true) or the event is set (false).
    bool WaitReadable(int fd) const;
    // Waits up to `milliseconds`; true when the event is set.
    bool WaitSet(int milliseconds) const;

  private:
    int fd_;
};

}  // namespace sim
