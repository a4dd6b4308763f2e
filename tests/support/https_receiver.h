#pragma once
// A small HTTPS server on 127.0.0.1 that answers every request 200 and keeps the bodies,
// for tests of what the simulator sends out. One connection at a time; thread-safe.

#include <openssl/ssl.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "test_crypto.h"

class HttpsReceiver {
  public:
    // Serves with `identity` (its certificate should name 127.0.0.1) on an ephemeral port.
    explicit HttpsReceiver(const TestCertificate &identity);
    ~HttpsReceiver();
    HttpsReceiver(const HttpsReceiver &) = delete;
    HttpsReceiver &operator=(const HttpsReceiver &) = delete;

    uint16_t port() const { return port_; }
    std::string Url() const { return "https://127.0.0.1:" + std::to_string(port_) + "/status"; }
    // The bodies received so far, in order.
    std::vector<std::string> Bodies();
    // True once at least `count` bodies came, false after `seconds`.
    bool WaitForBodies(size_t count, int seconds);

  private:
    void Serve();
    void Answer(int client);

    SSL_CTX *context_ = nullptr;
    int listener_ = -1;
    uint16_t port_ = 0;
    std::atomic<bool> stopping_{false};
    std::mutex mutex_;
    std::vector<std::string> bodies_;
    std::thread thread_;
};
