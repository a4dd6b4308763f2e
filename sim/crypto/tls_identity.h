#pragma once
// The HSM's self-signed identities (TLS, and the vendor key that signs update packages),
// made on first start, and the TLS server context.

#include <openssl/ssl.h>

#include <string>

namespace sim {

enum class IdentityKey { kP256, kEd25519 };

// Creates a key pair of `kind` in `keyPath` (mode 0600) and a self-signed certificate of it
// in `certPath`, both PEM, unless both exist. Throws std::runtime_error on failure.
void EnsureSelfSignedIdentity(const std::string &keyPath, const std::string &certPath,
                              const std::string &commonName, IdentityKey kind);

// EnsureSelfSignedIdentity with a P-256 key.
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
