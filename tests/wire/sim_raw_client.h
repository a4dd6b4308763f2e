#pragma once
// A protocol client over a raw socket for the simulator's own tests: it speaks the frames
// and messages directly, so tests can also send what no well-behaved library would.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

#include <optional>
#include <string>

#include "discovery.pb.h"
#include "envelope.pb.h"
#include "framing.h"

// A client certificate and key presented in the TLS handshake; borrowed.
struct ClientTlsIdentity {
    X509 *cert = nullptr;
    EVP_PKEY *key = nullptr;
};

class RawClient {
  public:
    // Connects to 127.0.0.1:port from `source` (another loopback address, so a test can be
    // another client host; null: the system's choice); with `tls`, completes a TLS handshake
    // (any server certificate is accepted). connected() tells whether it all worked.
    RawClient(uint16_t port, bool tls, ClientTlsIdentity identity = {},
              const char *source = nullptr) {
        fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (source != nullptr) {
            sockaddr_in from{};
            from.sin_family = AF_INET;
            if (::inet_pton(AF_INET, source, &from.sin_addr) != 1 ||
                ::bind(fd_, reinterpret_cast<sockaddr *>(&from), sizeof from) != 0)
                return;
        }
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        timeval timeout{kTimeoutSeconds, 0};
        ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        if (::connect(fd_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) return;
        if (tls) {
            // OpenSSL writes with write(2): a server that has already cut this client off
            // must make SendRaw fail, not end the whole test program.
            std::signal(SIGPIPE, SIG_IGN);
            ctx_ = SSL_CTX_new(TLS_client_method());
            if (identity.cert != nullptr) {
                SSL_CTX_use_certificate(ctx_, identity.cert);
                SSL_CTX_use_PrivateKey(ctx_, identity.key);
            }
            ssl_ = SSL_new(ctx_);
            SSL_set_fd(ssl_, fd_);
            if (SSL_connect(ssl_) != 1) return;
        }
        connected_ = true;
    }
    ~RawClient() {
        if (ssl_ != nullptr) SSL_free(ssl_);
        if (ctx_ != nullptr) SSL_CTX_free(ctx_);
        ::close(fd_);
    }
    RawClient(const RawClient &) = delete;
    RawClient &operator=(const RawClient &) = delete;

    bool connected() const { return connected_; }
    int fd() const { return fd_; }

    bool SendRaw(const std::string &bytes) {
        wire::Stream stream(fd_, ssl_);
        return stream.WriteAll(bytes.data(), bytes.size()) == wire::OK;
    }

    // Sends one request; nullopt when no response arrived (connection closed).
    std::optional<wire::pb::Response> Call(const wire::pb::Request &request) {
        wire::Stream stream(fd_, ssl_);
        std::string bytes;
        request.SerializeToString(&bytes);
        if (wire::WriteFrame(stream, bytes) != wire::OK) return std::nullopt;
        return Receive();
    }

    std::optional<wire::pb::Response> Receive() {
        wire::Stream stream(fd_, ssl_);
        std::string bytes;
        wire::pb::Response response;
        if (wire::ReadFrame(stream, bytes) != wire::OK || !response.ParseFromString(bytes))
            return std::nullopt;
        return response;
    }

    // Status of a call, or -1 when the connection closed instead.
    int64_t Status(const wire::pb::Request &request) {
        std::optional<wire::pb::Response> response = Call(request);
        return response ? int64_t{response->status()} : -1;
    }

    // True when the server closes the connection within the timeout (data before the end
    // is skipped).
    bool WaitClosed() {
        char buffer[256];
        for (;;) {
            ssize_t got = ::recv(fd_, buffer, sizeof buffer, 0);
            if (got == 0 || (got < 0 && errno == ECONNRESET)) return true;
            if (got < 0) return false;
        }
    }

  private:
    static constexpr int kTimeoutSeconds = 30;
    int fd_ = -1;
    SSL_CTX *ctx_ = nullptr;
    SSL *ssl_ = nullptr;
    bool connected_ = false;
};

// The length prefix of a frame, for writing frames by hand.
inline std::string FrameHeader(uint32_t length) {
    return {static_cast<char>(length >> 24), static_cast<char>(length >> 16),
            static_cast<char>(length >> 8), static_cast<char>(length)};
}

inline wire::pb::Request PasswordLogin(const std::string &user, const std::string &password,
                                       wire::pb::AuthMode authMode = wire::pb::AUTH_PASSWORD,
                                       const std::string &otp = "") {
    wire::pb::Request request;
    wire::pb::Login *login = request.mutable_login();
    login->set_method(wire::pb::LOGIN_PASSWORD);
    login->set_user(user);
    login->set_password(password);
    login->set_auth_mode(authMode);
    login->set_otp(otp);
    return request;
}

inline wire::pb::Request Liveness() {
    wire::pb::Request request;
    request.mutable_liveness();
    return request;
}
