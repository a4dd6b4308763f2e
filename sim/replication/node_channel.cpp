#include "replication/node_channel.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "framing.h"
#include "secret_fields.h"
#include "tls_policy.h"

namespace sim {

namespace {

constexpr char kExporterLabel[] = "EXPORTER-orvena-replication-node";
constexpr size_t kBindingBytes = 32;

void SetTimeouts(int fd, int timeoutMs) {
    timeval timeout{timeoutMs / 1000, (timeoutMs % 1000) * 1000};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
}

// A TCP connection from the node's own address, or -1 when none was made within the wait.
int ConnectFrom(const NodeEndpoint &self, const std::string &address) {
    sockaddr_in local{}, remote{};
    local.sin_family = remote.sin_family = AF_INET;
    remote.sin_port = htons(self.port);
    if (inet_pton(AF_INET, address.c_str(), &remote.sin_addr) != 1) return -1;
    if (inet_pton(AF_INET, self.address.c_str(), &local.sin_addr) != 1) return -1;
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return -1;
    // The other node sees where the connection comes from in its logs.
    (void)::bind(fd, reinterpret_cast<sockaddr *>(&local), sizeof local);
    int rc = ::connect(fd, reinterpret_cast<sockaddr *>(&remote), sizeof remote);
    if (rc != 0 && errno == EINPROGRESS) {
        pollfd ready{fd, POLLOUT, 0};
        int error = 0;
        socklen_t length = sizeof error;
        rc = ::poll(&ready, 1, self.timeoutMs) == 1 &&
                     ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0
                 ? 0
                 : -1;
    }
    if (rc != 0) {
        ::close(fd);
        return -1;
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    SetTimeouts(fd, self.timeoutMs);
    return fd;
}

SSL_CTX *ClientContext(const NodeEndpoint &self) {
    SSL_CTX *ctx = SSL_CTX_new(TLS_client_method());
    if (ctx == nullptr) return nullptr;
    if (!wire::ApplyTlsPolicy(ctx) ||
        SSL_CTX_use_certificate_file(ctx, self.tlsCertPath.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(ctx, self.tlsKeyPath.c_str(), SSL_FILETYPE_PEM) != 1) {
        SSL_CTX_free(ctx);
        return nullptr;
    }
    return ctx;
}

bool ProofMatches(const std::string &expected, const std::string &given) {
    return expected.size() == given.size() &&
           CRYPTO_memcmp(expected.data(), given.data(), expected.size()) == 0;
}

}  // namespace

std::string ChannelBinding(SSL *ssl) {
    std::string binding(kBindingBytes, '\0');
    if (SSL_export_keying_material(ssl, reinterpret_cast<unsigned char *>(binding.data()),
                                   binding.size(), kExporterLabel, sizeof kExporterLabel - 1,
                                   nullptr, 0, 0) != 1)
        return {};
    return binding;
}

SecretBytes NodeKey(const MasterKey &masterKey) {
    return masterKey.DeriveKey("replication node proof");
}

std::string NodeProof(const SecretBytes &key, std::string_view role, std::string_view binding) {
    std::string message = std::string(role) + ":" + std::string(binding);
    unsigned char mac[EVP_MAX_MD_SIZE];
    size_t length = 0;
    if (EVP_Q_mac(nullptr, "HMAC", nullptr, "SHA256", nullptr, key.view().data(), key.size(),
                  reinterpret_cast<const unsigned char *>(message.data()), message.size(), mac,
                  sizeof mac, &length) == nullptr)
        return {};
    return std::string(reinterpret_cast<const char *>(mac), length);
}

Result NodeLink::Open(const NodeEndpoint &self, const SecretBytes &key, const std::string &address,
                      std::unique_ptr<NodeLink> *link) {
    int fd = ConnectFrom(self, address);
    if (fd < 0) return Result::kNodeTestFailed;
    SSL_CTX *ctx = ClientContext(self);
    SSL *ssl = ctx == nullptr ? nullptr : SSL_new(ctx);
    std::unique_ptr<NodeLink> opened(new NodeLink(fd, ssl, ctx, address));
    if (ssl == nullptr || SSL_set_fd(ssl, fd) != 1 || SSL_connect(ssl) != 1)
        return Result::kNodeTestFailed;
    const std::string binding = ChannelBinding(ssl);
    if (binding.empty()) return Result::kNodeTestFailed;
    wire::pb::Request request;
    request.mutable_node_hello()->set_proof(NodeProof(key, "client", binding));
    request.mutable_node_hello()->set_address(self.address);
    wire::pb::Response response;
    if (!opened->Write(request) || !opened->Read(&response)) return Result::kNodeTestFailed;
    if (Result result = FromNodeStatus(response.status()); result != Result::kOk) return result;
    const bool proven =
        ProofMatches(NodeProof(key, "server", binding), response.node_hello().proof());
    opened->helloSyncPoint_ = response.node_hello().sync_point();
    wire::WipeSecretFields(response);
    if (!proven) return Result::kForeignNode;
    *link = std::move(opened);
    return Result::kOk;
}

NodeLink::~NodeLink() {
    if (ssl_ != nullptr) {
        if (!broken_) SSL_shutdown(ssl_);
        SSL_free(ssl_);
    }
    if (ctx_ != nullptr) SSL_CTX_free(ctx_);
    ::close(fd_);
}

bool NodeLink::Write(google::protobuf::Message &message) {
    std::string bytes;
    wire::Stream stream(fd_, ssl_);
    bool sent = !broken_ && message.SerializeToString(&bytes) &&
                wire::WriteFrame(stream, bytes) == wire::OK;
    if (wire::WipeSecretFields(message)) OPENSSL_cleanse(bytes.data(), bytes.size());
    if (!sent) broken_ = true;
    return sent;
}

bool NodeLink::Read(google::protobuf::Message *message) {
    if (broken_) return false;
    wire::Stream stream(fd_, ssl_);
    std::string payload;
    bool parsed = wire::ReadFrame(stream, payload) == wire::OK && message->ParseFromString(payload);
    OPENSSL_cleanse(payload.data(), payload.size());
    if (!parsed) broken_ = true;
    return parsed;
}

bool NodeLink::Send(wire::pb::NodeRequest &request) {
    return Write(request);
}

Result NodeLink::Receive(wire::pb::NodeResponse *response) {
    if (!Read(response)) return Result::kReplicationUnreachable;
    return FromNodeStatus(response->status());
}

Result NodeLink::Call(wire::pb::NodeRequest &request, wire::pb::NodeResponse *response) {
    if (!Send(request)) return Result::kReplicationUnreachable;
    return Receive(response);
}

Result FromNodeStatus(uint32_t status) {
    switch (status) {
        case wire::OK:
            return Result::kOk;
        case wire::ERR_REPL_CONFLICT:
            return Result::kReplicationConflict;
        case wire::ERR_REPL_FOREIGN_NODE:
            return Result::kForeignNode;
        case wire::ERR_REPL_OUT_OF_SYNC:
            return Result::kOutOfSync;
        case wire::ERR_REPL_NODE_UNREACHABLE:
            return Result::kReplicationUnreachable;
        default:
            return Result::kInternal;
    }
}

}  // namespace sim
