// The algorithm tables: one row per library identifier.
#include "keys/algorithm_tables.h"

#include "qelvoarc.h"

namespace {

struct AlgorithmRow {
    uint32_t algorithm;
    const char *name;
    uint32_t bits;
};

// clang-format off
constexpr AlgorithmRow kAlgorithms[] = {
    {Q_ALG_DES, "des", 56},
    {Q_ALG_3DES_112, "3des-112", 112},
    {Q_ALG_3DES_168, "3des-168", 168},
    {Q_ALG_RSA_512, "rsa-512", 512},
    {Q_ALG_RSA_1024, "rsa-1024", 1024},
    {Q_ALG_RSA_2048, "rsa-2048", 2048},
    {Q_ALG_AES_128, "aes-128", 128},
    {Q_ALG_AES_192, "aes-192", 192},
    {Q_ALG_AES_256, "aes-256", 256},
    {Q_ALG_ARC4, "arc4", 128},
    {Q_ALG_RSA_4096, "rsa-4096", 4096},
    {18, "ecc-secp112r1", 112},
    {19, "ecc-secp112r2", 112},
    {20, "ecc-secp128r1", 128},
    {21, "ecc-secp128r2", 128},
    {22, "ecc-secp160k1", 160},
    {23, "ecc-secp160r1", 160},
    {24, "ecc-secp160r2", 160},
    {25, "ecc-secp192k1", 192},
    {26, "ecc-secp192r1", 192},
    {27, "ecc-secp224k1", 224},
    {28, "ecc-secp224r1", 224},
    {29, "ecc-secp256k1", 256},
    {30, "ecc-secp256r1", 256},
    {31, "ecc-secp384r1", 384},
    {32, "ecc-secp521r1", 521},
    {33, "ecc-x9.62-prime192v2", 192},
    {34, "ecc-x9.62-prime192v3", 192},
    {35, "ecc-x9.62-prime239v1", 239},
    {36, "ecc-x9.62-prime239v2", 239},
    {37, "ecc-x9.62-prime239v3", 239},
    {38, "ecc-brainpoolP160r1", 160},
    {39, "ecc-brainpoolP160t1", 160},
    {40, "ecc-brainpoolP192r1", 192},
    {41, "ecc-brainpoolP192t1", 192},
    {42, "ecc-brainpoolP224r1", 224},
    {43, "ecc-brainpoolP224t1", 224},
    {44, "ecc-brainpoolP256r1", 256},
    {45, "ecc-brainpoolP256t1", 256},
    {46, "ecc-brainpoolP320r1", 320},
    {47, "ecc-brainpoolP320t1", 320},
    {48, "ecc-brainpoolP384r1", 384},
    {49, "ecc-brainpoolP384t1", 384},
    {50, "ecc-brainpoolP512r1", 512},
    {51, "ecc-brainpoolP512t1", 512},
    {Q_ALG_ARC5, "arc5", 128},
    {Q_ALG_DESX, "desx", 184},
    {Q_ALG_HMAC_MD5, "hmac-md5", 128},
    {Q_ALG_HMAC_SHA1, "hmac-sha1", 160},
    {Q_ALG_HMAC_SHA256, "hmac-sha256", 256},
    {Q_ALG_HMAC_SHA384, "hmac-sha384", 384},
    {Q_ALG_HMAC_SHA512, "hmac-sha512", 512},
    {Q_ALG_HMAC_SHA224, "hmac-sha224", 224},
    {Q_ALG_HMAC_SHA3_224, "hmac-sha3-224", 224},
    {Q_ALG_HMAC_SHA3_256, "hmac-sha3-256", 256},
    {Q_ALG_HMAC_SHA3_384, "hmac-sha3-384", 384},
    {Q_ALG_HMAC_SHA3_512, "hmac-sha3-512", 512},
    {Q_ALG_RSA_1152, "rsa-1152", 1152},
    {Q_ALG_RSA_1408, "rsa-1408", 1408},
    {Q_ALG_RSA_1984, "rsa-1984", 1984},
    {Q_ALG_RSA_8192, "rsa-8192", 8192},
    {Q_ALG_RSA_2304, "rsa-2304", 2304},
    {Q_ALG_RSA_2560, "rsa-2560", 2560},
    {Q_ALG_RSA_2816, "rsa-2816", 2816},
    {Q_ALG_RSA_3072, "rsa-3072", 3072},
    {Q_ALG_RSA_1976, "rsa-1976", 1976},
    {Q_ALG_RSA_1536, "rsa-1536", 1536},
    {Q_ALG_OBJ_SECRET, "secret", 0},
    {Q_ALG_OBJ_MAP, "map", 0},
    {Q_ALG_OBJ_PKCS11_MAP, "pkcs11-map", 0},
    {Q_ALG_OBJ_X509_CERT, "x509-cert", 0},
    {Q_ALG_ED25519, "eddsa-25519", 256},
    {Q_ALG_ED448, "eddsa-448", 456},
    {Q_ALG_X25519, "x25519", 256},
    {Q_ALG_X448, "x448", 448},
};
// clang-format on

// Bytes of clear material of the symmetric identifiers; the generated HMAC keys are as long
// as their digest.
struct LengthRow {
    uint32_t algorithm;
    uint32_t bytes;
};
constexpr LengthRow kSymmetricLengths[] = {
    {Q_ALG_DES, 8},
    {Q_ALG_3DES_112, 16},
    {Q_ALG_3DES_168, 24},
    {Q_ALG_DESX, 24},
    {Q_ALG_AES_128, 16},
    {Q_ALG_AES_192, 24},
    {Q_ALG_AES_256, 32},
    {Q_ALG_ARC4, 16},
    {Q_ALG_ARC5, 16},
    {Q_ALG_HMAC_MD5, 16},
    {Q_ALG_HMAC_SHA1, 20},
    {Q_ALG_HMAC_SHA224, 28},
    {Q_ALG_HMAC_SHA256, 32},
    {Q_ALG_HMAC_SHA384, 48},
    {Q_ALG_HMAC_SHA512, 64},
    {Q_ALG_HMAC_SHA3_224, 28},
    {Q_ALG_HMAC_SHA3_256, 32},
    {Q_ALG_HMAC_SHA3_384, 48},
    {Q_ALG_HMAC_SHA3_512, 64},
};

// Every row is scanned and the last match wins, so a later row may correct an earlier one.
const AlgorithmRow *FindRow(uint32_t algorithm) {
    const AlgorithmRow *found = nullptr;
    for (const AlgorithmRow &row : kAlgorithms) {
        if (row.algorithm == algorithm) found = &row;
    }
    return found;
}

}  // namespace

const char *AlgorithmName(uint32_t algorithm) {
    const AlgorithmRow *row = FindRow(algorithm);
    return row != nullptr ? row->name : "unknown";
}

uint32_t AlgorithmKeyBits(uint32_t algorithm) {
    const AlgorithmRow *row = FindRow(algorithm);
    return row != nullptr ? row->bits : 0;
}

uint32_t SymmetricKeyLength(uint32_t algorithm) {
    for (const LengthRow &row : kSymmetricLengths) {
        if (row.algorithm == algorithm) return row.bytes;
    }
    return 0;
}

bool HasKeyCheckValue(uint32_t algorithm) {
    switch (algorithm) {
        case Q_ALG_DES:
        case Q_ALG_3DES_112:
        case Q_ALG_3DES_168:
        case Q_ALG_AES_128:
        case Q_ALG_AES_192:
        case Q_ALG_AES_256:
        case Q_ALG_ARC4:
        case Q_ALG_ARC5:
        case Q_ALG_DESX:
            return true;
        default:
            return false;
    }
}
