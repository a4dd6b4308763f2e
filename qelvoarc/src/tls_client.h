#pragma once
// TLS on the client side of an HSM connection (OpenSSL).

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace qelvoarc {

struct SslCtxDeleter {
    void operator()(SSL_CTX *ctx) const { SSL_CTX_free(ctx); }
};
struct SslDeleter {
    void operator()(SSL *ssl) const { SSL_free(ssl); }
};
struct X509Deleter {
    void operator()(X509 *cert) const { X509_free(cert); }
};
using SslCtxPtr = std::unique_ptr<SSL_CTX, SslCtxDeleter>;
using SslPtr = std::unique_ptr<SSL, SslDeleter>;
using X509Ptr = std::unique_ptr<X509, X509Deleter>;

// Client identity and server pin of a mutual-TLS login. The views point into the caller's
// record and live only for the duration of the login.
struct MutualTlsMaterial {
    std::string_view privateKey;  // PEM, possibly encrypted
    const char *keyPassword = nullptr;
    std::string_view clientCert;  // PEM or DER
    std::string_view hsmCert;     // PEM or DER
};

// Parses a certificate given as PEM or DER; null when it is neither.
X509Ptr ParseCertificate(std::string_view bytes);

// A client context for TLS 1.2 or later. Without mutual TLS the server is not verified (the
// operator pins it out of band); with it, the client key and certificate are loaded.
// Returns OK, or ERR_TLS when the key, its password or the certificate is unusable.
[[nodiscard]] uint32_t MakeClientContext(const MutualTlsMaterial *mutualTls, SslCtxPtr *ctx);

// Runs the handshake on a connected socket (not owned). Returns OK or ERR_TLS.
[[nodiscard]] uint32_t Handshake(SSL_CTX *ctx, int fd, SslPtr *ssl);

// ERR_TLS unless the server presented exactly the expected certificate.
[[nodiscard]] uint32_t CheckPinnedServer(SSL *ssl, X509 *expected);

// PEM text (with its line breaks) or DER bytes of a certificate.
[[nodiscard]] bool EncodeCertificate(X509 *cert, bool pem, std::string *out);

}  // namespace qelvoarc
