#pragma once
// Key material made at test time, so that no key or certificate file is checked in, and
// values computed here rather than trusted from the HSM: self-signed certificates with their
// keys (also client identities for mutual TLS) and the OTPs of a known OATH seed.

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// Bytes as upper-case hexadecimal text.
inline std::string Hex(const uint8_t *data, size_t length) {
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    for (size_t i = 0; i < length; ++i) {
        out.push_back(digits[data[i] >> 4]);
        out.push_back(digits[data[i] & 15]);
    }
    return out;
}

// What `write` puts into a memory BIO.
template <typename Write>
std::string MemoryText(Write write) {
    std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new(BIO_s_mem()), &BIO_free);
    write(bio.get());
    char *text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    return std::string(text, static_cast<size_t>(length));
}

struct TestCertificate {
    std::vector<uint8_t> der;
    std::string pem;
    std::vector<uint8_t> keyId;  // SHA-1 of the subject public key, as OpenSSL computes it
    std::shared_ptr<EVP_PKEY> key;
    std::shared_ptr<X509> cert;

    std::string DerText() const { return std::string(der.begin(), der.end()); }

    // The private key as PEM, encrypted under `password` unless it is null.
    std::string KeyPem(const char *password = nullptr) const {
        return MemoryText([&](BIO *bio) {
            PEM_write_bio_PrivateKey(bio, key.get(), password ? EVP_aes_256_cbc() : nullptr,
                                     nullptr, 0, nullptr, const_cast<char *>(password));
        });
    }
};

struct CertificateFields {
    const char *organisation = nullptr;  // an "O" before the "CN" when given
    uint64_t serial = 0x1234;
    const char *notBefore = nullptr;  // YYYYMMDDhhmmssZ; both null: valid for a day from now
    const char *notAfter = nullptr;
    const char *subjectAltName = nullptr;  // e.g. "IP:127.0.0.1", for a TLS server
};

// A self-signed P-256 certificate for `commonName`.
inline TestCertificate MakeTestCertificate(const char *commonName,
                                           const CertificateFields &fields = {}) {
    std::shared_ptr<EVP_PKEY> key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    std::shared_ptr<X509> cert(X509_new(), &X509_free);
    X509_set_version(cert.get(), X509_VERSION_3);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(cert.get()), fields.serial);
    if (fields.notBefore == nullptr) {
        X509_gmtime_adj(X509_getm_notBefore(cert.get()), 0);
        X509_gmtime_adj(X509_getm_notAfter(cert.get()), 24 * 3600);
    } else {
        ASN1_TIME_set_string_X509(X509_getm_notBefore(cert.get()), fields.notBefore);
        ASN1_TIME_set_string_X509(X509_getm_notAfter(cert.get()), fields.notAfter);
    }
    X509_NAME *name = X509_get_subject_name(cert.get());
    for (const auto &[field, value] : {std::pair{"O", fields.organisation}, {"CN", commonName}}) {
        if (value == nullptr) continue;
        X509_NAME_add_entry_by_txt(name, field, MBSTRING_ASC,
                                   reinterpret_cast<const unsigned char *>(value), -1, -1, 0);
    }
    X509_set_issuer_name(cert.get(), name);
    X509_set_pubkey(cert.get(), key.get());
    if (fields.subjectAltName != nullptr) {
        X509V3_CTX context;
        X509V3_set_ctx(&context, cert.get(), cert.get(), nullptr, nullptr, 0);
        X509_EXTENSION *extension =
            X509V3_EXT_conf_nid(nullptr, &context, NID_subject_alt_name, fields.subjectAltName);
        X509_add_ext(cert.get(), extension, -1);
        X509_EXTENSION_free(extension);
    }
    X509_sign(cert.get(), key.get(), EVP_sha256());

    TestCertificate out;
    unsigned char *der = nullptr;
    const int length = i2d_X509(cert.get(), &der);
    out.der.assign(der, der + length);
    OPENSSL_free(der);
    out.pem = MemoryText([&](BIO *bio) { PEM_write_bio_X509(bio, cert.get()); });
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digestLength = 0;
    X509_pubkey_digest(cert.get(), EVP_sha1(), digest, &digestLength);
    out.keyId.assign(digest, digest + digestLength);
    out.key = key;
    out.cert = cert;
    return out;
}

// The seed of the RFC 4226 test vectors, as bytes and as an operator types it.
inline constexpr char kOathSeed[] = "12345678901234567890";
inline constexpr char kOathSeedHex[] = "3132333435363738393031323334353637383930";

// The six-digit HOTP of kOathSeed at `counter`.
inline std::string Hotp(uint64_t counter) {
    unsigned char message[8];
    for (int i = 7; i >= 0; --i, counter >>= 8)
        message[i] = static_cast<unsigned char>(counter);
    unsigned char mac[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    HMAC(EVP_sha1(), kOathSeed, sizeof kOathSeed - 1, message, sizeof message, mac, &length);
    const int offset = mac[length - 1] & 0x0F;
    const uint32_t code = ((mac[offset] & 0x7Fu) << 24) | (mac[offset + 1] << 16) |
                          (mac[offset + 2] << 8) | mac[offset + 3];
    char text[8];
    std::snprintf(text, sizeof text, "%06u", code % 1000000);
    return text;
}
