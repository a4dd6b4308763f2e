// CKA_ID: a key pair and a certificate of its public key must share one id, whatever the
// key type, or a PKCS#11 client cannot pair them.

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>

#include "crypto/key_algorithm.h"
#include "crypto/key_generator.h"
#include "crypto/public_key_id.h"

namespace {

// A certificate of the key in `pkcs8`, signed by a throwaway key (the id looks only at the
// subject's key).
std::string CertificateOf(const std::string &pkcs8) {
    const auto *p = reinterpret_cast<const unsigned char *>(pkcs8.data());
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> subject(
        d2i_AutoPrivateKey(nullptr, &p, static_cast<long>(pkcs8.size())), &EVP_PKEY_free);
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> signer(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    std::unique_ptr<X509, decltype(&X509_free)> cert(X509_new(), &X509_free);
    EXPECT_TRUE(subject && signer && cert);
    X509_gmtime_adj(X509_getm_notBefore(cert.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(cert.get()), 60);
    X509_set_pubkey(cert.get(), subject.get());
    EXPECT_GT(X509_sign(cert.get(), signer.get(), EVP_sha256()), 0);
    unsigned char *der = nullptr;
    int length = i2d_X509(cert.get(), &der);
    std::string out(reinterpret_cast<char *>(der), static_cast<size_t>(length));
    OPENSSL_free(der);
    return out;
}

TEST(SimPublicKeyId, KeyAndItsCertificateShareTheId) {
    for (uint32_t id : {4u /* RSA-512 */, 30u /* P-256 */, 201u /* Ed25519 */, 203u /* X25519 */}) {
        sim::KeyMaterial material;
        ASSERT_EQ(sim::GenerateKeyMaterial(*sim::FindKeyAlgorithm(id), 0, &material),
                  sim::Result::kOk);
        std::optional<std::string> keyId = sim::PrivateKeyId(material.secret.view());
        ASSERT_TRUE(keyId) << id;
        EXPECT_EQ(keyId->size(), 20u);
        EXPECT_EQ(sim::CertificateKeyId(CertificateOf(material.secret.view())), keyId) << id;
    }
    EXPECT_FALSE(sim::PrivateKeyId("not a key"));
    EXPECT_FALSE(sim::CertificateKeyId("not a certificate"));
}

}  // namespace
