#include "server/connection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/crypto.h>
#include <openssl/x509.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

#include <memory>

#include "secret_fields.h"
#include "server/dispatcher.h"
#include "server/service_table.h"
#include "service/reply_stream.h"

namespace sim {

namespace {

constexpr unsigned char kTlsHandshakeRecord = 0x16;

using SslPtr = std::unique_ptr<SSL, decltype(&SSL_free)>;

void ConfigureSocket(int fd, int idleTimeoutSeconds) {
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    if (idleTimeoutSeconds > 0) {
        timeval timeout{idleTimeoutSeconds, 0};
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    }
}

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

void ServeRequests(HsmContext &hsm, ConnectionState &conn, wire::Stream &stream) {
    FrameStream replies(stream);
    conn.replies = &replies;
    std::string payload;
    wire::pb::Request request;
    for (;;) {
        wire::Status read = wire::ReadFrame(stream, payload);
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
        wire::pb::Response response = Dispatch(ServiceTable(), hsm, conn, request);
        if (!SendResponse(stream, response) || conn.closeAfterReply) return;
    }
}

}  // namespace

bool SendResponse(wire::Stream &stream, wire::pb::Response &response) {
    std::string bytes;
    bool sent = response.SerializeToString(&bytes) && wire::WriteFrame(stream, bytes) == wire::OK;
    // As the library does with its requests: the bytes are wiped when the reply held a secret.
    if (wire::WipeSecretFields(response)) OPENSSL_cleanse(bytes.data(), bytes.size());
    return sent;
}

void ServeConnection(HsmContext &hsm, SSL_CTX *tls, int fd, int idleTimeoutSeconds) {
    ConfigureSocket(fd, idleTimeoutSeconds);
    unsigned char first = 0;
    if (::recv(fd, &first, 1, MSG_PEEK) != 1) return;

    ConnectionState conn;
    SslPtr ssl(nullptr, &SSL_free);
    if (first == kTlsHandshakeRecord) {
        ssl.reset(SSL_new(tls));
        if (!ssl || SSL_set_fd(ssl.get(), fd) != 1 || SSL_accept(ssl.get()) != 1) return;
        conn.peerCertificate = PeerCertificateDer(ssl.get());
    }
    wire::Stream stream(fd, ssl.get());
    ServeRequests(hsm, conn, stream);
    if (conn.session) hsm.sessions.Close(conn.session->id);
    if (ssl) SSL_shutdown(ssl.get());
}

}  // namespace sim
