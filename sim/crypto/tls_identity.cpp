#include "crypto/tls_identity.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/buffer.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "crypto/certificate_der.h"
#include "crypto/public_key_id.h"
#include "platform/durable_file.h"
#include "tls_policy.h"

namespace sim {

namespace {

constexpr long kValiditySeconds = 10L * 365 * 24 * 3600;

using KeyPtr = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using CertPtr = std::unique_ptr<X509, decltype(&X509_free)>;

bool Exists(const std::string &path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0;
}

// The PEM is made in OpenSSL's secure memory, which is wiped when freed: it may be a private
// key.
void WritePem(const std::string &path, const auto &write) {
    std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_secmem()), &BIO_free);
    BUF_MEM *pem = nullptr;
    if (!bio || write(bio.get()) != 1 || BIO_get_mem_ptr(bio.get(), &pem) != 1)
        throw std::runtime_error("cannot encode " + path);
    WriteFileDurably(path, std::string_view(pem->data, pem->length));
}

int AcceptAnyClientCertificate(int, X509_STORE_CTX *) {
    return 1;
}

}  // namespace

void EnsureSelfSignedIdentity(const std::string &keyPath, const std::string &certPath,
                              const std::string &commonName, IdentityKey kind) {
    if (Exists(keyPath) && Exists(certPath)) return;
    KeyPtr key(kind == IdentityKey::kP256 ? EVP_EC_gen("P-256")
                                          : EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"),
               &EVP_PKEY_free);
    CertPtr cert(X509_new(), &X509_free);
    if (!key || !cert) throw std::runtime_error("cannot create the identity of " + commonName);
    X509_set_version(cert.get(), 2);
    // A random serial, so that two simulators' certificates never share issuer and serial.
    std::unique_ptr<BIGNUM, decltype(&BN_free)> serial(BN_new(), &BN_free);
    if (!serial || BN_rand(serial.get(), 63, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) != 1 ||
        BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(cert.get())) == nullptr)
        throw std::runtime_error("cannot create the identity of " + commonName);
    X509_gmtime_adj(X509_getm_notBefore(cert.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(cert.get()), kValiditySeconds);
    X509_NAME *name = X509_get_subject_name(cert.get());
    X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char *>("Orvena"), -1, -1, 0);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char *>(commonName.c_str()), -1, -1,
                               0);
    X509_set_issuer_name(cert.get(), name);
    // Ed25519 hashes inside the signature: it takes no digest.
    const EVP_MD *digest = kind == IdentityKey::kP256 ? EVP_sha256() : nullptr;
    if (X509_set_pubkey(cert.get(), key.get()) != 1 ||
        X509_sign(cert.get(), key.get(), digest) == 0)
        throw std::runtime_error("cannot sign the certificate of " + commonName);
    WritePem(keyPath, [&](BIO *bio) {
        return PEM_write_bio_PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    });
    WritePem(certPath, [&](BIO *bio) { return PEM_write_bio_X509(bio, cert.get()); });
}

void EnsureTlsIdentity(const std::string &keyPath, const std::string &certPath,
                       const std::string &commonName) {
    EnsureSelfSignedIdentity(keyPath, certPath, commonName, IdentityKey::kP256);
}

TlsServerContext::TlsServerContext(const std::string &keyPath, const std::string &certPath)
    : ctx_(SSL_CTX_new(TLS_server_method())) {
    static const unsigned char kSessionContext[] = "orvena-sim";
    if (ctx_ == nullptr || !wire::ApplyTlsPolicy(ctx_) ||
        SSL_CTX_use_certificate_chain_file(ctx_, certPath.c_str()) != 1 ||
        SSL_CTX_use_PrivateKey_file(ctx_, keyPath.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_set_session_id_context(ctx_, kSessionContext, sizeof kSessionContext - 1) != 1) {
        SSL_CTX_free(ctx_);
        throw std::runtime_error("cannot set up TLS from " + certPath);
    }
    SSL_CTX_set_verify(ctx_, SSL_VERIFY_PEER, AcceptAnyClientCertificate);
}

TlsServerContext::~TlsServerContext() {
    SSL_CTX_free(ctx_);
}

std::string TlsKeyId(const std::string &certPath) {
    std::ifstream file(certPath, std::ios::binary);
    const std::string pem((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::optional<std::string> der = CertificateToDer(pem);
    std::optional<std::string> id = der ? CertificateKeyId(*der) : std::nullopt;
    if (!id) return {};
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (unsigned char byte : *id) {
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 15];
    }
    return hex;
}

}  // namespace sim
