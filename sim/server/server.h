#pragma once
// A TCP acceptor: one thread per connection, a watchdog for their deadlines, all of them
// joined on Stop. It serves the device library's protocol and the EFT daemon's host commands
// alike; what runs on a connection is the caller's.

#include <netinet/in.h>

#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "server/connection.h"
#include "server/stop_event.h"
#include "service/hsm_context.h"

namespace sim {

// Serves one accepted connection on the connection's own thread, until it ends. Does not
// close `fd` (the server does, under its lock, so that a shutdown() from another thread never
// hits a reused fd). The watch's deadline starts as the login deadline of `limits`.
using ServeFunction = std::function<void(int fd, ConnectionWatch &watch)>;

class Server {
  public:
    // Binds and listens on host:port (port 0 = ephemeral). Throws std::system_error.
    // `hsm` must outlive the server.
    Server(HsmContext &hsm, ServeFunction serve, const std::string &host, uint16_t port,
           const ConnectionLimits &limits);
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
        int fd;          // -1 once the connection's thread closed it
        in_addr_t peer;  // network order
        ConnectionWatch watch;
        std::thread thread;
        bool finished = false;
        bool cutOff = false;
    };

    void AcceptLoop();
    // Takes one pending connection when no descriptor is left, and closes it at once: the
    // client learns it was refused instead of waiting in the backlog.
    void RefuseWithReserveDescriptor();
    // True when the limits let one more connection from `peer` in. REQUIRES: mutex_ held.
    bool AdmitLocked(in_addr_t peer) const;
    // True when the IP filter lets the client on `fd`, of `peer` (network order), go on to a
    // login; a refused one is shut out and logged. Runs on the connection's thread, so the
    // acceptor never waits for the store.
    bool FilterAdmits(int fd, in_addr_t peer);
    void Watchdog();
    // Joins connections whose thread has ended. REQUIRES: mutex_ held.
    void ReapFinishedLocked();

    HsmContext &hsm_;
    const ServeFunction serve_;
    const ConnectionLimits limits_;
    int listenFd_ = -1;
    int reserveFd_ = -1;
    uint16_t port_ = 0;
    StopEvent stop_;
    std::thread acceptThread_;
    std::thread watchdogThread_;
    std::mutex mutex_;
    std::list<Connection> connections_;
    bool stopped_ = false;
};

}  // namespace sim
