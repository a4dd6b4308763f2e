#pragma once
// Answers discovery probes on a UDP port of 127.0.0.1.

#include <cstdint>
#include <thread>

#include "discovery.pb.h"
#include "server/stop_event.h"

namespace sim {

inline constexpr uint32_t kDiscoveryMagic = 0x4F52564E;

class DiscoveryResponder {
  public:
    // Binds 127.0.0.1:port; throws std::system_error. `reply` is what every valid probe
    // gets back (its magic is filled in here).
    DiscoveryResponder(uint16_t port, wire::pb::DiscoveryReply reply);
    ~DiscoveryResponder();
    DiscoveryResponder(const DiscoveryResponder &) = delete;
    DiscoveryResponder &operator=(const DiscoveryResponder &) = delete;

    uint16_t port() const { return port_; }
    void Start();
    void Stop();  // idempotent

  private:
    void Loop();

    int fd_ = -1;
    uint16_t port_ = 0;
    std::string reply_;
    StopEvent stop_;
    std::thread thread_;
};

}  // namespace sim
