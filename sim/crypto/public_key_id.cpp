#include "crypto/public_key_id.h"

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>

namespace sim {

namespace {

std::optional<std::string> KeyId(const X509_PUBKEY *publicKey) {
    const unsigned char *bits = nullptr;
    int length = 0;
    if (X509_PUBKEY_get0_param(nullptr, &bits, &length, nullptr, publicKey) != 1)
        return std::nullopt;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digestLength = 0;
    if (EVP_Digest(bits, static_cast<size_t>(length), digest, &digestLength, EVP_sha1(), nullptr) !=
        1)
        return std::nullopt;
    return std::string(reinterpret_cast<char *>(digest), digestLength);
}

}  // namespace

std::optional<std::string> PrivateKeyId(std::string_view pkcs8Der) {
    const auto *p = reinterpret_cast<const unsigned char *>(pkcs8Der.data());
    std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)> info(
        d2i_PKCS8_PRIV_KEY_INFO(nullptr, &p, static_cast<long>(pkcs8Der.size())),
        &PKCS8_PRIV_KEY_INFO_free);
    if (!info) return std::nullopt;
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_PKCS82PKEY(info.get()),
                                                            &EVP_PKEY_free);
    if (!key) return std::nullopt;
    X509_PUBKEY *raw = nullptr;
    if (X509_PUBKEY_set(&raw, key.get()) != 1) return std::nullopt;
    std::unique_ptr<X509_PUBKEY, decltype(&X509_PUBKEY_free)> publicKey(raw, &X509_PUBKEY_free);
    return KeyId(publicKey.get());
}

std::optional<std::string> CertificateKeyId(std::string_view certificateDer) {
    const auto *p = reinterpret_cast<const unsigned char *>(certificateDer.data());
    std::unique_ptr<X509, decltype(&X509_free)> cert(
        d2i_X509(nullptr, &p, static_cast<long>(certificateDer.size())), &X509_free);
    if (!cert) return std::nullopt;
    return KeyId(X509_get_X509_PUBKEY(cert.get()));
}

}  // namespace sim
