#include "tls_client.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cstring>

#include "sigpipe_guard.h"
#include "status.h"
#include "tls_policy.h"

namespace qelvoarc {

namespace {

struct BioDeleter {
    void operator()(BIO *bio) const { BIO_free(bio); }
};
struct PkeyDeleter {
    void operator()(EVP_PKEY *key) const { EVP_PKEY_free(key); }
};
using BioPtr = std::unique_ptr<BIO, BioDeleter>;

BioPtr MemoryBio(std::string_view bytes) {
    return BioPtr(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

// Gives OpenSSL the key password without ever prompting on the terminal.
int PasswordCallback(char *buffer, int size, int, void *userdata) {
    const char *password = static_cast<const char *>(userdata);
    if (password == nullptr) return 0;
    size_t length = std::strlen(password);
    if (length > static_cast<size_t>(size)) return 0;
    std::memcpy(buffer, password, length);
    return static_cast<int>(length);
}

[[nodiscard]] uint32_t LoadIdentity(SSL_CTX *ctx, const MutualTlsMaterial &material) {
    BioPtr keyBio = MemoryBio(material.privateKey);
    std::unique_ptr<EVP_PKEY, PkeyDeleter> key(PEM_read_bio_PrivateKey(
        keyBio.get(), nullptr, PasswordCallback, const_cast<char *>(material.keyPassword)));
    X509Ptr cert = ParseCertificate(material.clientCert);
    if (key == nullptr || cert == nullptr || SSL_CTX_use_certificate(ctx, cert.get()) != 1 ||
        SSL_CTX_use_PrivateKey(ctx, key.get()) != 1 || SSL_CTX_check_private_key(ctx) != 1)
        return wire::ERR_TLS;
    return wire::OK;
}

}  // namespace

X509Ptr ParseCertificate(std::string_view bytes) {
    if (bytes.empty()) return nullptr;
    BioPtr bio = MemoryBio(bytes);
    X509Ptr cert(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
    if (cert == nullptr) {
        const auto *der = reinterpret_cast<const unsigned char *>(bytes.data());
        cert.reset(d2i_X509(nullptr, &der, static_cast<long>(bytes.size())));
    }
    ERR_clear_error();
    return cert;
}

uint32_t MakeClientContext(const MutualTlsMaterial *mutualTls, SslCtxPtr *ctx) {
    SslCtxPtr created(SSL_CTX_new(TLS_client_method()));
    if (created == nullptr) return wire::ERR_NO_MEMORY;
    if (!wire::ApplyTlsPolicy(created.get())) return wire::ERR_TLS;
    SSL_CTX_set_verify(created.get(), SSL_VERIFY_NONE, nullptr);
    if (mutualTls != nullptr) {
        uint32_t status = LoadIdentity(created.get(), *mutualTls);
        ERR_clear_error();
        if (status != wire::OK) return status;
    }
    *ctx = std::move(created);
    return wire::OK;
}

uint32_t Handshake(SSL_CTX *ctx, int fd, SslPtr *ssl) {
    SslPtr created(SSL_new(ctx));
    if (created == nullptr) return wire::ERR_NO_MEMORY;
    bool ok;
    {
        SigpipeGuard guard;
        ok = SSL_set_fd(created.get(), fd) == 1 && SSL_connect(created.get()) == 1;
    }
    ERR_clear_error();
    if (!ok) return wire::ERR_TLS;
    *ssl = std::move(created);
    return wire::OK;
}

uint32_t CheckPinnedServer(SSL *ssl, X509 *expected) {
    X509Ptr presented(SSL_get1_peer_certificate(ssl));
    if (presented == nullptr || X509_cmp(presented.get(), expected) != 0) return wire::ERR_TLS;
    return wire::OK;
}

bool EncodeCertificate(X509 *cert, bool pem, std::string *out) {
    if (!pem) {
        int length = i2d_X509(cert, nullptr);
        if (length <= 0) return false;
        out->resize(static_cast<size_t>(length));
        auto *cursor = reinterpret_cast<unsigned char *>(out->data());
        return i2d_X509(cert, &cursor) == length;
    }
    BioPtr bio(BIO_new(BIO_s_mem()));
    if (bio == nullptr || PEM_write_bio_X509(bio.get(), cert) != 1) return false;
    char *data = nullptr;
    long length = BIO_get_mem_data(bio.get(), &data);
    out->assign(data, static_cast<size_t>(length));
    return true;
}

}  // namespace qelvoarc
