#include "crypto/key_generator.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/encoder.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <bit>
#include <memory>

#include "check_value.h"

namespace sim {

namespace {

using PkeyCtx = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;
using Pkey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

Result RandomKey(const KeyAlgorithm &algorithm, KeyMaterial *out) {
    std::string key(algorithm.length, '\0');
    if (RAND_priv_bytes(reinterpret_cast<unsigned char *>(key.data()),
                        static_cast<int>(key.size())) != 1)
        return Result::kInternal;
    SecretBytes secret(std::move(key));
    if (wire::IsDesFamily(algorithm.id)) {
        SetDesParity(secret.mutable_bytes());
    } else if (algorithm.id == wire::pb::ALG_DESX) {
        // Only the DES part has parity; the two whitening keys are used whole.
        std::string des = secret.view().substr(0, 8);
        SetDesParity(des);
        secret.mutable_bytes().replace(0, 8, des);
        OPENSSL_cleanse(des.data(), des.size());
    }
    out->secret = std::move(secret);
    return Result::kOk;
}

PkeyCtx NewContext(const KeyAlgorithm &algorithm) {
    const char *type = algorithm.keyClass == KeyClass::kRsa  ? "RSA"
                       : algorithm.keyClass == KeyClass::kEc ? "EC"
                                                             : algorithm.openSslName;
    PkeyCtx ctx(EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr), &EVP_PKEY_CTX_free);
    if (!ctx || EVP_PKEY_keygen_init(ctx.get()) != 1) return PkeyCtx(nullptr, &EVP_PKEY_CTX_free);
    return ctx;
}

bool ConfigureRsa(EVP_PKEY_CTX *ctx, const KeyAlgorithm &algorithm, uint32_t attributes) {
    std::unique_ptr<BIGNUM, decltype(&BN_free)> exponent(BN_new(), &BN_free);
    return exponent &&
           BN_set_word(exponent.get(), (attributes & wire::pb::KEY_RSA_EXPONENT_3) ? 3 : 65537) ==
               1 &&
           EVP_PKEY_CTX_set_rsa_keygen_bits(ctx, static_cast<int>(algorithm.length * 8)) == 1 &&
           EVP_PKEY_CTX_set1_rsa_keygen_pubexp(ctx, exponent.get()) == 1;
}

std::string PublicExponent(EVP_PKEY *key) {
    BIGNUM *e = nullptr;
    if (EVP_PKEY_get_bn_param(key, OSSL_PKEY_PARAM_RSA_E, &e) != 1) return {};
    std::string bytes(static_cast<size_t>(BN_num_bytes(e)), '\0');
    BN_bn2bin(e, reinterpret_cast<unsigned char *>(bytes.data()));
    BN_free(e);
    return bytes;
}

// The key as PKCS#8 PrivateKeyInfo DER, encoded once by the key's provider (EVP_PKEY2PKCS8
// would encode it, parse that and encode it again).
bool PrivateKeyInfo(const EVP_PKEY *key, SecretBytes *der) {
    std::unique_ptr<OSSL_ENCODER_CTX, decltype(&OSSL_ENCODER_CTX_free)> encoder(
        OSSL_ENCODER_CTX_new_for_pkey(key, EVP_PKEY_KEYPAIR, "DER", "PrivateKeyInfo", nullptr),
        &OSSL_ENCODER_CTX_free);
    unsigned char *data = nullptr;
    size_t length = 0;
    if (!encoder || OSSL_ENCODER_to_data(encoder.get(), &data, &length) != 1) return false;
    *der = SecretBytes(std::string(reinterpret_cast<char *>(data), length));
    OPENSSL_clear_free(data, length);
    return true;
}

Result AsymmetricKey(const KeyAlgorithm &algorithm, uint32_t attributes, KeyMaterial *out) {
    PkeyCtx ctx = NewContext(algorithm);
    if (!ctx) return Result::kInternal;
    if (algorithm.keyClass == KeyClass::kRsa && !ConfigureRsa(ctx.get(), algorithm, attributes))
        return Result::kInternal;
    if (algorithm.keyClass == KeyClass::kEc &&
        EVP_PKEY_CTX_set_group_name(ctx.get(), algorithm.openSslName) != 1)
        return Result::kBadAlgorithm;
    EVP_PKEY *raw = nullptr;
    if (EVP_PKEY_keygen(ctx.get(), &raw) != 1) return Result::kInternal;
    Pkey key(raw, &EVP_PKEY_free);
    if (!PrivateKeyInfo(key.get(), &out->secret)) return Result::kInternal;
    if (algorithm.keyClass == KeyClass::kRsa) out->publicExponent = PublicExponent(key.get());
    return Result::kOk;
}

}  // namespace

void SetDesParity(std::string &key) {
    for (char &c : key) {
        auto byte = static_cast<uint8_t>(c);
        if (std::popcount(static_cast<uint8_t>(byte & 0xFE)) % 2 == 0)
            byte |= 0x01;
        else
            byte &= 0xFE;
        c = static_cast<char>(byte);
    }
}

Result GenerateKeyMaterial(const KeyAlgorithm &algorithm, uint32_t attributes, KeyMaterial *out) {
    switch (algorithm.keyClass) {
        case KeyClass::kSymmetric:
        case KeyClass::kHmac:
            return RandomKey(algorithm, out);
        case KeyClass::kRsa:
        case KeyClass::kEc:
        case KeyClass::kEdwards:
        case KeyClass::kMontgomery:
            return AsymmetricKey(algorithm, attributes, out);
    }
    return Result::kBadAlgorithm;
}

}  // namespace sim
