#pragma once
// Control+C in the live monitors: while a scope lives, the interrupt only sets a flag that
// the monitor tests after each wait, so it leaves the loop at the next refresh and never in
// the middle of a library call. The action it had before comes back when the scope ends.

#include <signal.h>

class MonitorInterrupt {
  public:
    MonitorInterrupt();
    ~MonitorInterrupt();
    MonitorInterrupt(const MonitorInterrupt &) = delete;
    MonitorInterrupt &operator=(const MonitorInterrupt &) = delete;

    // Waits `milliseconds` (less when Control+C comes); true once Control+C was pressed.
    bool WaitForStop(int milliseconds) const;

  private:
    struct sigaction previous_ {};
};
