#pragma once
// A small self-signed certificate and its key made at test time, so no binary file is
// checked in; also serves as a client identity for mutual TLS.

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <vector>

struct TestCertificate {
    std::vector<uint8_t> der;
    std::string pem;
    std::vector<uint8_t> keyId;  // SHA-1 of the subject public key, as OpenSSL computes it
    std::shared_ptr<EVP_PKEY> key;
    std::shared_ptr<X509> cert;

    std::string DerText() const { return std::string(der.begin(), der.end()); }

    // The private key as PEM, encrypted under `password`.
    std::string KeyPem(const char *password) const {
        std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), &BIO_free);
        PEM_write_bio_PrivateKey(bio.get(), key.get(), EVP_aes_256_cbc(), nullptr, 0, nullptr,
                                 const_cast<char *>(password));
        char *text = nullptr;
        long length = BIO_get_mem_data(bio.get(), &text);
        return std::string(text, static_cast<size_t>(length));
    }
};

// A P-256 certificate for `commonName`, valid for a day from now.
inline TestCertificate MakeTestCertificate(const char *commonName) {
    std::shared_ptr<EVP_PKEY> key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    std::shared_ptr<X509> cert(X509_new(), &X509_free);
    X509_set_version(cert.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(cert.get()), 0x1234);
    X509_gmtime_adj(X509_getm_notBefore(cert.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(cert.get()), 24 * 3600);
    X509_NAME *name = X509_get_subject_name(cert.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char *>(commonName), -1, -1, 0);
    X509_set_issuer_name(cert.get(), name);
    X509_set_pubkey(cert.get(), key.get());
    X509_sign(cert.get(), key.get(), EVP_sha256());

    TestCertificate out;
    unsigned char *der = nullptr;
    int length = i2d_X509(cert.get(), &der);
    out.der.assign(der, der + length);
    OPENSSL_free(der);
    std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), &BIO_free);
    PEM_write_bio_X509(bio.get(), cert.get());
    char *text = nullptr;
    long textLength = BIO_get_mem_data(bio.get(), &text);
    out.pem.assign(text, static_cast<size_t>(textLength));
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digestLength = 0;
    X509_pubkey_digest(cert.get(), EVP_sha1(), digest, &digestLength);
    out.keyId.assign(digest, digest + digestLength);
    out.key = key;
    out.cert = cert;
    return out;
}
