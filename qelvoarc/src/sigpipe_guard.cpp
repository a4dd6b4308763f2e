#include "sigpipe_guard.h"

#include <pthread.h>

#include <cerrno>
#include <ctime>

namespace qelvoarc {

namespace {
sigset_t SigpipeSet() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}
}  // namespace

SigpipeGuard::SigpipeGuard() {
    sigset_t pending;
    sigpending(&pending);
    // A SIGPIPE that was already pending belongs to the host; leave it alone.
    alreadyPending_ = sigismember(&pending, SIGPIPE) == 1;
    sigset_t set = SigpipeSet();
    pthread_sigmask(SIG_BLOCK, &set, &previous_);
}

SigpipeGuard::~SigpipeGuard() {
    if (!alreadyPending_) {
        sigset_t pending;
        sigpending(&pending);
        if (sigismember(&pending, SIGPIPE) == 1) {
            sigset_t set = SigpipeSet();
            timespec zero{0, 0};
            while (sigtimedwait(&set, nullptr, &zero) < 0 && errno == EINTR) {
            }
        }
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

}  // namespace qelvoarc
