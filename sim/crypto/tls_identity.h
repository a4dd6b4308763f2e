#pragma once
// The HSM's TLS identity (a self-signed certificate made on first start) and the server
// context built from it.

#include <openssl/ssl.h>

#include <string>

namespace sim {

// Creates `keyPath` (mode 0600) and `certPath` unless both exist. Throws
// std::runtime_error on failure.
void EnsureTlsIdentity(const std::string &keyPath, const std::string &certPath,
                       const std::string &commonName);

// The id of the certificate's public key (as CertificateKeyId) in upper-case hexadecimal;
// "" when the file cannot be read as a certificate.
std::string TlsKeyId(const std::string &certPath);

// TLS 1.2+ server context. Every handshake asks for a client certificate and accepts any:
// whether it is the right one is decided at login by comparing it with the user's record.
// Thread-safe after construction (SSL_new from many threads).
class TlsServerContext {
  public:
    TlsServerContext(const std::string &keyPath, const std::string &certPath);
    ~TlsServerContext();
    TlsServerContext(const TlsServerContext &) = delete;
    TlsServerContext &operator=(const TlsServerContext &) = delete;
    SSL_CTX *get() const { return ctx_; }

  private:
    SSL_CTX *ctx_ = nullptr;
};

}  // namespace sim
