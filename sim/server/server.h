#pragma once
// The TCP acceptor: one thread per connection, all of them joined on Stop.

#include <cstdint>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "crypto/tls_identity.h"
#include "server/stop_event.h"
#include "service/hsm_context.h"

namespace sim {

class Server {
  public:
    // Binds and listens on host:port (port 0 = ephemeral). Throws std::system_error.
    // `hsm` and `tls` must outlive the server.
    Server(HsmContext &hsm, const TlsServerContext &tls, const std::string &host, uint16_t port,
           int idleTimeoutSeconds);
    // Stops if still running.
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    uint16_t port() const { return port_; }
    void Start();
    // Stops accepting, ends every connection and joins all threads. Idempotent.
    void Stop();

  private:
    struct Connection {
        int fd;
        std::thread thread;
        bool finished = false;
    };

    void AcceptLoop();
    // Joins and closes connections whose thread has ended. REQUIRES: mutex_ held.
    void ReapFinishedLocked();

    HsmContext &hsm_;
    const TlsServerContext &tls_;
    const int idleTimeoutSeconds_;
    int listenFd_ = -1;
    uint16_t port_ = 0;
    StopEvent stop_;
    std::thread acceptThread_;
    std::mutex mutex_;
    std::list<Connection> connections_;
    bool stopped_ = false;
};

}  // namespace sim
