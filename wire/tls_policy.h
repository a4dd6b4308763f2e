#pragma once
// The TLS both ends accept: versions 1.2 and 1.3, and for 1.2 only ephemeral key exchange
// with an AEAD cipher (TLS 1.3's suites are all of that kind already).

#include <openssl/ssl.h>

namespace wire {

inline constexpr const char *kTls12CipherList = "ECDHE+AESGCM:ECDHE+CHACHA20";

// Applies the policy to a context; false when OpenSSL refused it.
inline bool ApplyTlsPolicy(SSL_CTX *ctx) {
    return SSL_CTX_set_min_proto_version(ctx, TLS1_2_VERSION) == 1 &&
           SSL_CTX_set_cipher_list(ctx, kTls12CipherList) == 1 &&
           (SSL_CTX_set_options(ctx, SSL_OP_NO_RENEGOTIATION) & SSL_OP_NO_RENEGOTIATION) != 0;
}

}  // namespace wire
