#pragma once
// Keeps a write on a socket whose peer has gone from killing the host process.

#include <signal.h>

namespace qelvoarc {

// While alive, SIGPIPE is blocked on this thread; a SIGPIPE raised meanwhile is consumed
// before the previous mask is restored. OpenSSL writes with write(), which offers no
// MSG_NOSIGNAL, and a library must not change the process's signal dispositions.
class SigpipeGuard {
  public:
    SigpipeGuard();
    ~SigpipeGuard();
    SigpipeGuard(const SigpipeGuard &) = delete;
    SigpipeGuard &operator=(const SigpipeGuard &) = delete;

  private:
    sigset_t previous_;
    bool alreadyPending_ = false;
};

}  // namespace qelvoarc
