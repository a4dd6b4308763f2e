#include "connection.h"

#include <openssl/crypto.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>

#include "qelvoarc.h"
#include "secret_fields.h"
#include "sigpipe_guard.h"
#include "text_fields.h"

namespace qelvoarc {

uint32_t Connection::Open(const ConnectionOptions &options, std::unique_ptr<Connection> *out) {
    SslCtxPtr ctx;
    if (options.tls) {
        uint32_t status = MakeClientContext(options.mutualTls, &ctx);
        if (status != wire::OK) return status;
    }
    X509Ptr pinned;
    if (options.mutualTls != nullptr) {
        pinned = ParseCertificate(options.mutualTls->hsmCert);
        if (pinned == nullptr) return wire::ERR_TLS;
    }
    int fd = -1;
    uint32_t status = ConnectTcp(options.address, options.port, options.tcp, &fd);
    if (status != wire::OK) return status;
    SslPtr ssl;
    if (options.tls) {
        status = Handshake(ctx.get(), fd, &ssl);
        if (status == wire::OK && pinned != nullptr)
            status = CheckPinnedServer(ssl.get(), pinned.get());
        if (status != wire::OK) {
            ssl.reset();
            ::close(fd);
            return status;
        }
    }
    out->reset(new Connection(fd, std::move(ctx), std::move(ssl)));
    return wire::OK;
}

Connection::Connection(int fd, SslCtxPtr ctx, SslPtr ssl)
    : fd_(fd), ctx_(std::move(ctx)), ssl_(std::move(ssl)), stream_(fd_, ssl_.get()) {}

Connection::~Connection() {
    if (ssl_ != nullptr && !broken_) {
        SigpipeGuard guard;
        SSL_shutdown(ssl_.get());
    }
    ssl_.reset();
    ::close(fd_);
}

uint32_t Connection::RoundTrip(pb::Request &request, pb::Response *response) {
    uint32_t status = Send(request);
    return status == wire::OK ? Receive(response) : status;
}

uint32_t Connection::Send(pb::Request &request) {
    if (!wire::TextFieldsAreUtf8(request)) {
        wire::WipeSecretFields(request);
        return wire::ERR_INVALID_PARAMETER;
    }
    const bool serialised = !broken_ && request.SerializeToString(&outgoing_);
    // The message's secrets are of no use once serialised (or never sent); the frame's go
    // once it is written.
    const bool secret = wire::WipeSecretFields(request);
    if (!serialised) {
        if (secret) OPENSSL_cleanse(outgoing_.data(), outgoing_.size());
        return broken_ ? wire::ERR_CONNECTION_LOST : wire::ERR_PROTOCOL;
    }
    uint32_t status;
    {
        std::optional<SigpipeGuard> guard;
        if (ssl_ != nullptr) guard.emplace();
        status = wire::WriteFrame(stream_, outgoing_);
    }
    if (secret) OPENSSL_cleanse(outgoing_.data(), outgoing_.size());
    return status == wire::OK ? status : Broken(status);
}

uint32_t Connection::Receive(pb::Response *response) {
    if (broken_) return wire::ERR_CONNECTION_LOST;
    uint32_t status;
    {
        // OpenSSL also writes while reading (alerts).
        std::optional<SigpipeGuard> guard;
        if (ssl_ != nullptr) guard.emplace();
        status = wire::ReadFrame(stream_, incoming_);
    }
    if (status == wire::OK && !response->ParseFromString(incoming_)) status = wire::ERR_PROTOCOL;
    // The raw answer may hold secrets (issued tokens, exported material); the parsed copy is
    // the caller's to wipe.
    OPENSSL_cleanse(incoming_.data(), incoming_.size());
    return status == wire::OK ? status : Broken(status);
}

uint32_t Connection::Broken(uint32_t status) {
    // A half-read or unreadable stream cannot be resynchronised.
    broken_ = true;
    ::shutdown(fd_, SHUT_RDWR);
    return status == wire::ERR_TIMEOUT ? status : wire::ERR_CONNECTION_LOST;
}

uint32_t Connection::protocol() const {
    if (ssl_ == nullptr) return Q_PROTOCOL_CLEAR;
    switch (SSL_version(ssl_.get())) {
        case TLS1_VERSION:
            return Q_PROTOCOL_TLS1_0;
        case TLS1_1_VERSION:
            return Q_PROTOCOL_TLS1_1;
        case TLS1_2_VERSION:
            return Q_PROTOCOL_TLS1_2;
        case TLS1_3_VERSION:
            return Q_PROTOCOL_TLS1_3;
        default:
            return Q_PROTOCOL_UNKNOWN;
    }
}

const char *Connection::cipher() const {
    return ssl_ == nullptr ? "" : SSL_get_cipher_name(ssl_.get());
}

}  // namespace qelvoarc
