#include "server/stop_event.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace sim {

StopEvent::StopEvent() : fd_(::eventfd(0, EFD_CLOEXEC)) {
    if (fd_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

StopEvent::~StopEvent() {
    ::close(fd_);
}

void StopEvent::Set() {
    uint64_t one = 1;
    ssize_t ignored = ::write(fd_, &one, sizeof one);
    (void)ignored;
}

bool StopEvent::WaitReadable(int fd) const {
    pollfd fds[2] = {{fd, POLLIN, 0}, {fd_, POLLIN, 0}};
    for (;;) {
        int ready = ::poll(fds, 2, -1);
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0 || fds[1].revents != 0) return false;
        if (fds[0].revents != 0) return true;
    }
}

bool StopEvent::WaitSet(int milliseconds) const {
    pollfd event = {fd_, POLLIN, 0};
    int ready = ::poll(&event, 1, milliseconds);
    return ready > 0 && event.revents != 0;
}

}  // namespace sim
