#pragma once
// One connection to an HSM: a socket, optionally TLS, carrying framed protocol messages.

#include <cstdint>
#include <memory>
#include <string>

#include "envelope.pb.h"
#include "framing.h"
#include "tcp_connect.h"
#include "tls_client.h"

namespace qelvoarc {

namespace pb = ::wire::pb;

struct ConnectionOptions {
    const char *address = nullptr;
    uint32_t port = 0;
    bool tls = true;
    TcpOptions tcp;
    const MutualTlsMaterial *mutualTls = nullptr;  // set: present a client identity and pin
};

// Not thread-safe: the owning session serialises its use.
class Connection {
  public:
    // Connects, and with TLS runs the handshake (and the pin check of mutual TLS).
    [[nodiscard]] static uint32_t Open(const ConnectionOptions &options,
                                       std::unique_ptr<Connection> *out);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // Sends one request and reads its response. Returns the transport status only; the
    // response's own status is the caller's to look at. After a transport failure the
    // connection stays broken and every later call fails with ERR_CONNECTION_LOST at once.
    // The request's secret fields are wiped once it is serialised, and so are the frames: the
    // one sent when it held a secret, the one read always. The parsed response is the
    // caller's to wipe.
    [[nodiscard]] uint32_t RoundTrip(pb::Request &request, pb::Response *response);

    // The two halves of RoundTrip, for a request answered by several frames (the follow of
    // the event log): Send once, then Receive each frame. The same wiping and the same
    // failure rules apply.
    [[nodiscard]] uint32_t Send(pb::Request &request);
    [[nodiscard]] uint32_t Receive(pb::Response *response);

    // "TLSv1.2"/"TLSv1.3" and the cipher suite, or "none" and "" on a clear connection.
    uint32_t protocol() const;  // a Q_PROTOCOL_* code
    const char *cipher() const;

  private:
    Connection(int fd, SslCtxPtr ctx, SslPtr ssl);
    // Marks the stream broken after a transport failure and maps the status.
    uint32_t Broken(uint32_t status);

    int fd_;
    SslCtxPtr ctx_;
    SslPtr ssl_;
    wire::Stream stream_;
    bool broken_ = false;
    std::string outgoing_;  // reused frame buffers: no allocation per call once warm
    std::string incoming_;
};

}  // namespace qelvoarc
