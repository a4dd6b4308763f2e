#pragma once
// The node-to-node channel: TLS in both directions (each node presents its own certificate),
// and a proof from each end that it holds the domain's master key, bound to this one TLS
// channel so that it cannot be replayed on another. The client end is NodeLink.

#include <openssl/ssl.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "core/result.h"
#include "core/secret.h"
#include "crypto/master_key.h"
#include "envelope.pb.h"
#include "replication.pb.h"

namespace sim {

// The channel's exported keying material, the same at both ends of one TLS connection.
std::string ChannelBinding(SSL *ssl);

// The proof that the end named by `role` ("client" or "server") holds `key`.
std::string NodeProof(const SecretBytes &key, std::string_view role, std::string_view binding);

// The key of the node proofs, derived from the master key.
SecretBytes NodeKey(const MasterKey &masterKey);

// Where this node is and who it is: the address it binds and listens on, the port every node
// of the domain shares, its TLS identity and the wait for an answer.
struct NodeEndpoint {
    std::string address;
    uint16_t port = 0;
    std::string tlsKeyPath;
    std::string tlsCertPath;
    int timeoutMs = 2000;
};

// A client connection to another node, opened with NodeHello. Not thread-safe.
class NodeLink {
  public:
    // Connects to `address` on the shared port within the endpoint's timeout. kOk, or
    // kNodeTestFailed when the node did not answer, kForeignNode when it does not hold `key`.
    static Result Open(const NodeEndpoint &self, const SecretBytes &key, const std::string &address,
                       std::unique_ptr<NodeLink> *link);
    ~NodeLink();
    NodeLink(const NodeLink &) = delete;
    NodeLink &operator=(const NodeLink &) = delete;

    // Sends `request` and reads its answer. kReplicationUnreachable when none came within the
    // timeout or the connection broke (the link is then unusable), else the answer's status
    // (kOk, or the Result it stands for).
    Result Call(wire::pb::NodeRequest &request, wire::pb::NodeResponse *response);
    // Sends without waiting for the answer; Receive reads it. Lets a caller ask several nodes
    // at once.
    bool Send(wire::pb::NodeRequest &request);
    Result Receive(wire::pb::NodeResponse *response);

    // Whether a frame failed either way: the connection is of no further use.
    bool broken() const { return broken_; }
    uint64_t helloSyncPoint() const { return helloSyncPoint_; }
    const std::string &address() const { return address_; }

  private:
    // One frame each way; both wipe the message's secrets and their serialised copy.
    bool Write(google::protobuf::Message &message);
    bool Read(google::protobuf::Message *message);

    NodeLink(int fd, SSL *ssl, SSL_CTX *ctx, std::string address)
        : fd_(fd), ssl_(ssl), ctx_(ctx), address_(std::move(address)) {}
    int fd_;
    SSL *ssl_;
    SSL_CTX *ctx_;
    std::string address_;
    uint64_t helloSyncPoint_ = 0;
    bool broken_ = false;
};

// The Result a status of the wire stands for, for the statuses nodes answer each other.
Result FromNodeStatus(uint32_t status);

}  // namespace sim
