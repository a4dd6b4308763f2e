#include "crypto/key_algorithm.h"

#include <iterator>

namespace sim {

namespace pb = ::wire::pb;

namespace {

constexpr KeyAlgorithm kAlgorithms[] = {
    {pb::ALG_DES, KeyClass::kSymmetric, 8, nullptr},
    {pb::ALG_3DES_112, KeyClass::kSymmetric, 16, nullptr},
    {pb::ALG_3DES_168, KeyClass::kSymmetric, 24, nullptr},
    {pb::ALG_AES_128, KeyClass::kSymmetric, 16, nullptr},
    {pb::ALG_AES_192, KeyClass::kSymmetric, 24, nullptr},
    {pb::ALG_AES_256, KeyClass::kSymmetric, 32, nullptr},
    {pb::ALG_ARC4, KeyClass::kSymmetric, 16, nullptr},
    {pb::ALG_ARC5, KeyClass::kSymmetric, 16, nullptr},
    {pb::ALG_DESX, KeyClass::kSymmetric, 24, nullptr},
    {pb::ALG_HMAC_MD5, KeyClass::kHmac, 16, nullptr},
    {pb::ALG_HMAC_SHA1, KeyClass::kHmac, 20, nullptr},
    {pb::ALG_HMAC_SHA256, KeyClass::kHmac, 32, nullptr},
    {pb::ALG_HMAC_SHA384, KeyClass::kHmac, 48, nullptr},
    {pb::ALG_HMAC_SHA512, KeyClass::kHmac, 64, nullptr},
    {pb::ALG_HMAC_SHA224, KeyClass::kHmac, 28, nullptr},
    {pb::ALG_HMAC_SHA3_224, KeyClass::kHmac, 28, nullptr},
    {pb::ALG_HMAC_SHA3_256, KeyClass::kHmac, 32, nullptr},
    {pb::ALG_HMAC_SHA3_384, KeyClass::kHmac, 48, nullptr},
    {pb::ALG_HMAC_SHA3_512, KeyClass::kHmac, 64, nullptr},
    {pb::ALG_RSA_512, KeyClass::kRsa, 512 / 8, nullptr},
    {pb::ALG_RSA_1024, KeyClass::kRsa, 1024 / 8, nullptr},
    {pb::ALG_RSA_2048, KeyClass::kRsa, 2048 / 8, nullptr},
    {pb::ALG_RSA_4096, KeyClass::kRsa, 4096 / 8, nullptr},
    {pb::ALG_RSA_1152, KeyClass::kRsa, 1152 / 8, nullptr},
    {pb::ALG_RSA_1408, KeyClass::kRsa, 1408 / 8, nullptr},
    {pb::ALG_RSA_1984, KeyClass::kRsa, 1984 / 8, nullptr},
    {pb::ALG_RSA_8192, KeyClass::kRsa, 8192 / 8, nullptr},
    {pb::ALG_RSA_2304, KeyClass::kRsa, 2304 / 8, nullptr},
    {pb::ALG_RSA_2560, KeyClass::kRsa, 2560 / 8, nullptr},
    {pb::ALG_RSA_2816, KeyClass::kRsa, 2816 / 8, nullptr},
    {pb::ALG_RSA_3072, KeyClass::kRsa, 3072 / 8, nullptr},
    {pb::ALG_RSA_1976, KeyClass::kRsa, 1976 / 8, nullptr},
    {pb::ALG_RSA_1536, KeyClass::kRsa, 1536 / 8, nullptr},
    {pb::ALG_ECC_SECP112R1, KeyClass::kEc, 14, "secp112r1"},
    {pb::ALG_ECC_SECP128R1, KeyClass::kEc, 16, "secp128r1"},
    {pb::ALG_ECC_SECP160K1, KeyClass::kEc, 20, "secp160k1"},
    {pb::ALG_ECC_SECP160R1, KeyClass::kEc, 20, "secp160r1"},
    {pb::ALG_ECC_SECP192K1, KeyClass::kEc, 24, "secp192k1"},
    {pb::ALG_ECC_SECP192R1, KeyClass::kEc, 24, "prime192v1"},
    {pb::ALG_ECC_SECP224K1, KeyClass::kEc, 28, "secp224k1"},
    {pb::ALG_ECC_SECP224R1, KeyClass::kEc, 28, "secp224r1"},
    {pb::ALG_ECC_SECP256K1, KeyClass::kEc, 32, "secp256k1"},
    {pb::ALG_ECC_SECP256R1, KeyClass::kEc, 32, "prime256v1"},
    {pb::ALG_ECC_SECP384R1, KeyClass::kEc, 48, "secp384r1"},
    {pb::ALG_ECC_SECP521R1, KeyClass::kEc, 66, "secp521r1"},
    {pb::ALG_ECC_X962_PRIME192V2, KeyClass::kEc, 24, "prime192v2"},
    {pb::ALG_ECC_X962_PRIME239V1, KeyClass::kEc, 30, "prime239v1"},
    {pb::ALG_ECC_BRAINPOOL_P160R1, KeyClass::kEc, 20, "brainpoolP160r1"},
    {pb::ALG_ECC_BRAINPOOL_P160T1, KeyClass::kEc, 20, "brainpoolP160t1"},
    {pb::ALG_ECC_BRAINPOOL_P192R1, KeyClass::kEc, 24, "brainpoolP192r1"},
    {pb::ALG_ECC_BRAINPOOL_P192T1, KeyClass::kEc, 24, "brainpoolP192t1"},
    {pb::ALG_ECC_BRAINPOOL_P224R1, KeyClass::kEc, 28, "brainpoolP224r1"},
    {pb::ALG_ECC_BRAINPOOL_P224T1, KeyClass::kEc, 28, "brainpoolP224t1"},
    {pb::ALG_ECC_BRAINPOOL_P256R1, KeyClass::kEc, 32, "brainpoolP256r1"},
    {pb::ALG_ECC_BRAINPOOL_P256T1, KeyClass::kEc, 32, "brainpoolP256t1"},
    {pb::ALG_ECC_BRAINPOOL_P320R1, KeyClass::kEc, 40, "brainpoolP320r1"},
    {pb::ALG_ECC_BRAINPOOL_P320T1, KeyClass::kEc, 40, "brainpoolP320t1"},
    {pb::ALG_ECC_BRAINPOOL_P384R1, KeyClass::kEc, 48, "brainpoolP384r1"},
    {pb::ALG_ECC_BRAINPOOL_P384T1, KeyClass::kEc, 48, "brainpoolP384t1"},
    {pb::ALG_ECC_BRAINPOOL_P512R1, KeyClass::kEc, 64, "brainpoolP512r1"},
    {pb::ALG_ECC_BRAINPOOL_P512T1, KeyClass::kEc, 64, "brainpoolP512t1"},
    {pb::ALG_ED25519, KeyClass::kEdwards, 32, "ED25519"},
    {pb::ALG_ED448, KeyClass::kEdwards, 57, "ED448"},
    {pb::ALG_X25519, KeyClass::kMontgomery, 32, "X25519"},
    {pb::ALG_X448, KeyClass::kMontgomery, 56, "X448"},
};

}  // namespace

const KeyAlgorithm *FindKeyAlgorithm(uint32_t id) {
    for (const KeyAlgorithm &algorithm : kAlgorithms)
        if (algorithm.id == id) return &algorithm;
    return nullptr;
}

}  // namespace sim
