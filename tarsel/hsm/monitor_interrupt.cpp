#include "hsm/monitor_interrupt.h"

#include <sys/select.h>

namespace {

volatile sig_atomic_t gStopRequested = 0;

extern "C" void RequestStop(int) {
    gStopRequested = 1;
}

}  // namespace

MonitorInterrupt::MonitorInterrupt() {
    gStopRequested = 0;
    struct sigaction stop = {};
    stop.sa_handler = RequestStop;
    sigemptyset(&stop.sa_mask);
    // Library calls carry on through the interrupt; the wait does not (select is never
    // restarted), so the flag is seen at once.
    stop.sa_flags = SA_RESTART;
    sigaction(SIGINT, &stop, &previous_);
}

MonitorInterrupt::~MonitorInterrupt() {
    sigaction(SIGINT, &previous_, nullptr);
}

bool MonitorInterrupt::WaitForStop(int milliseconds) const {
    if (gStopRequested == 0) {
        timeval wait{milliseconds / 1000, (milliseconds % 1000) * 1000};
        select(0, nullptr, nullptr, nullptr, &wait);
    }
    return gStopRequested != 0;
}
