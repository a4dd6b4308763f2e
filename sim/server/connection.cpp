#include "server/connection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/crypto.h>
#include <openssl/x509.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>

#include "replication/replicator.h"
#include "secret_fields.h"
#include "server/dispatcher.h"
#include "server/service_table.h"
#include "service/reply_stream.h"

namespace sim {

namespace {

constexpr unsigned char kTlsHandshakeRecord = 0x16;

using SslPtr = std::unique_ptr<SSL, decltype(&SSL_free)>;

std::string PeerCertificateDer(SSL *ssl) {
    X509 *cert = SSL_get0_peer_certificate(ssl);
    if (cert == nullptr) return {};
    unsigned char *der = nullptr;
    int length = i2d_X509(cert, &der);
    if (length <= 0) return {};
    std::string out(reinterpret_cast<char *>(der), static_cast<size_t>(length));
    OPENSSL_free(der);
    return out;
}

std::string PeerAddress(int fd) {
    sockaddr_storage peer{};
    socklen_t length = sizeof peer;
    char text[INET6_ADDRSTRLEN] = {};
    if (::getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &length) != 0) return {};
    if (peer.ss_family == AF_INET)
        inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in &>(peer).sin_addr, text,
                  sizeof text);
    else if (peer.ss_family == AF_INET6)
        inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6 &>(peer).sin6_addr, text,
                  sizeof text);
    return text;
}

bool ReplyStatus(wire::Stream &stream, wire::Status status) {
    wire::pb::Response response;
    response.set_status(status);
    return SendResponse(stream, response);
}

// The connection's side of a request answered by several frames.
class FrameStream final : public ReplyStream {
  public:
    explicit FrameStream(wire::Stream &stream) : stream_(stream) {}

    bool Push(wire::pb::Response &response) override { return SendResponse(stream_, response); }

    bool StopAsked(int timeoutMs) override {
        // Bytes TLS has already taken off the socket do not wake poll.
        if (stream_.ssl() == nullptr || SSL_pending(stream_.ssl()) == 0) {
            pollfd ready{stream_.fd(), POLLIN, 0};
            int count = ::poll(&ready, 1, timeoutMs);
            if (count == 0 || (count < 0 && errno == EINTR)) return false;
        }
        // A stop is what a client sends here; anything else is not served, and ends the
        // stream all the same.
        std::string payload;
        (void)wire::ReadFrame(stream_, payload);
        OPENSSL_cleanse(payload.data(), payload.size());
        return true;
    }

  private:
    wire::Stream &stream_;
};

// Spaces a session's requests to its rate: a bucket that holds one second's worth, so a
// burst passes and a flood is slowed, never refused.
class RequestPacer {
  public:
    explicit RequestPacer(uint32_t perSecond) : perSecond_(perSecond), tokens_(perSecond) {}

    void Wait() {
        if (perSecond_ == 0) return;
        const auto now = std::chrono::steady_clock::now();
        tokens_ = std::min<double>(
            perSecond_, tokens_ + std::chrono::duration<double>(now - last_).count() * perSecond_);
        last_ = now;
        if (tokens_ < 1) {
            std::this_thread::sleep_for(std::chrono::duration<double>((1 - tokens_) / perSecond_));
            last_ = std::chrono::steady_clock::now();
            tokens_ = 1;
        }
        tokens_ -= 1;
    }

  private:
    const uint32_t perSecond_;
    double tokens_;
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

// Tells the server whether a session is open, before the reply that opened or closed it
// goes out, so the client's next connection is counted right. Without a session the login
// is timed: from accept (set by the server), or afresh from a logout.
void PublishSessionState(const ConnectionState &conn, const ConnectionLimits &limits,
                         ConnectionWatch &watch) {
    const bool open = conn.session != nullptr;
    if ((watch.session.load() != nullptr) == open) return;
    watch.session = conn.session;
    watch.deadline = open ? 0 : DeadlineAfter(limits.loginSeconds);
}

// Reads the next request's frame: small before a session is open, and once it is, the
// wait for a request is bounded by the idle timeout and each frame's body by its deadline.
wire::Status ReadRequestFrame(wire::Stream &stream, const ConnectionState &conn,
                              const ConnectionLimits &limits, ConnectionWatch &watch,
                              std::string &payload) {
    const bool open = conn.session != nullptr;
    uint32_t length = 0;
    wire::Status read = wire::ReadFrameHeader(
        stream, &length, open ? wire::kMaxFrameBytes : wire::kMaxFrameBytesBeforeLogin);
    if (read != wire::OK) return read;
    if (open) watch.deadline = DeadlineAfter(limits.frameSeconds);
    read = wire::ReadFrameBody(stream, length, payload);
    if (open) watch.deadline = 0;
    return read;
}

void ServeRequests(HsmContext &hsm, ConnectionState &conn, wire::Stream &stream,
                   const ConnectionLimits &limits, ConnectionWatch &watch) {
    FrameStream replies(stream);
    conn.replies = &replies;
    std::string payload;
    wire::pb::Request request;
    RequestPacer pacer(limits.maxRequestsPerSecond);
    for (;;) {
        wire::Status read = ReadRequestFrame(stream, conn, limits, watch, payload);
        if (read == wire::ERR_FRAME_TOO_LARGE) {
            // The body was not read, so the stream is out of step: answer and hang up.
            ReplyStatus(stream, read);
            return;
        }
        if (read != wire::OK) return;
        bool parsed = request.ParseFromString(payload);
        OPENSSL_cleanse(payload.data(), payload.size());
        if (!parsed) {
            wire::WipeSecretFields(request);  // a secret may precede the malformed part
            if (!ReplyStatus(stream, wire::ERR_PROTOCOL)) return;
            continue;
        }
        if (request.body_case() == wire::pb::Request::kNodeHello && hsm.replication != nullptr &&
            conn.tls) {
            // Another node of the domain: it proves itself in its own way and is served
            // apart from clients, with no login deadline.
            watch.deadline = 0;
            hsm.replication->ServeNode(stream, conn.channelBinding, request.node_hello());
            wire::WipeSecretFields(request);
            return;
        }
        pacer.Wait();
        wire::pb::Response response = Dispatch(ServiceTable(), hsm, conn, request);
        PublishSessionState(conn, limits, watch);
        if (!SendResponse(stream, response) || conn.closeAfterReply) return;
    }
}

}  // namespace

void ConfigureSocket(int fd, int idleTimeoutSeconds) {
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    if (idleTimeoutSeconds > 0) {
        timeval timeout{idleTimeoutSeconds, 0};
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    }
}

int64_t SteadyNanos() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

int64_t DeadlineAfter(int seconds) {
    return seconds == 0 ? 0 : SteadyNanos() + int64_t{seconds} * 1'000'000'000;
}

bool SendResponse(wire::Stream &stream, wire::pb::Response &response) {
    std::string bytes;
    bool sent = response.SerializeToString(&bytes) && wire::WriteFrame(stream, bytes) == wire::OK;
    // As the library does with its requests: the bytes are wiped when the reply held a secret.
    if (wire::WipeSecretFields(response)) OPENSSL_cleanse(bytes.data(), bytes.size());
    return sent;
}

void ServeConnection(HsmContext &hsm, SSL_CTX *tls, int fd, const ConnectionLimits &limits,
                     ConnectionWatch &watch) {
    ConfigureSocket(fd, limits.idleTimeoutSeconds);
    unsigned char first = 0;
    if (::recv(fd, &first, 1, MSG_PEEK) != 1) return;

    ConnectionState conn;
    conn.peerAddress = PeerAddress(fd);
    SslPtr ssl(nullptr, &SSL_free);
    if (first == kTlsHandshakeRecord) {
        ssl.reset(SSL_new(tls));
        if (!ssl || SSL_set_fd(ssl.get(), fd) != 1 || SSL_accept(ssl.get()) != 1) return;
        conn.peerCertificate = PeerCertificateDer(ssl.get());
        conn.channelBinding = ChannelBinding(ssl.get());
        conn.tls = true;
    }
    wire::Stream stream(fd, ssl.get());
    ServeRequests(hsm, conn, stream, limits, watch);
    if (conn.session) hsm.sessions.Close(conn.session->id);
    if (ssl) SSL_shutdown(ssl.get());
}

}  // namespace sim
