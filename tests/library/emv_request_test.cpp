// EMV issuer certification requests: each scheme's request read back field by field, its
// self-signature checked by OpenSSL with the key it carries, its hash recomputed here; and
// the keys and fields each scheme refuses.

#include <openssl/core_names.h>
#include <openssl/param_build.h>
#include <openssl/sha.h>

#include <array>
#include <cstring>

#include "keys_fixture.h"

namespace {

constexpr uint8_t kSerial[3] = {0x00, 0x01, 0x2A};
constexpr uint8_t kServiceId[4] = {0x11, 0x22, 0x33, 0x44};
constexpr uint8_t kFileIndex[4] = {0xA1, 0xB2, 0xC3, 0x00};
constexpr uint8_t kZeros[4] = {};
constexpr uint8_t kBin[4] = {0x45, 0x12, 0x34, 0xFF};  // 451234 padded

std::string Bytes(const uint8_t *data, size_t length) {
    return std::string(reinterpret_cast<const char *>(data), length);
}

std::string Sha1(const std::string &data) {
    uint8_t digest[SHA_DIGEST_LENGTH];
    SHA1(reinterpret_cast<const uint8_t *>(data.data()), data.size(), digest);
    return Bytes(digest, sizeof digest);
}

// The public key of modulus and exponent, as OpenSSL builds it.
std::shared_ptr<EVP_PKEY> RsaPublicKey(const std::string &modulus, const std::string &exponent) {
    auto number = [](const std::string &bytes) {
        return BN_bin2bn(reinterpret_cast<const uint8_t *>(bytes.data()),
                         static_cast<int>(bytes.size()), nullptr);
    };
    BIGNUM *n = number(modulus), *e = number(exponent);
    OSSL_PARAM_BLD *build = OSSL_PARAM_BLD_new();
    OSSL_PARAM_BLD_push_BN(build, OSSL_PKEY_PARAM_RSA_N, n);
    OSSL_PARAM_BLD_push_BN(build, OSSL_PKEY_PARAM_RSA_E, e);
    OSSL_PARAM *params = OSSL_PARAM_BLD_to_param(build);
    EVP_PKEY_CTX *context = EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr);
    EVP_PKEY *key = nullptr;
    EVP_PKEY_fromdata_init(context);
    EVP_PKEY_fromdata(context, &key, EVP_PKEY_PUBLIC_KEY, params);
    EVP_PKEY_CTX_free(context);
    OSSL_PARAM_free(params);
    OSSL_PARAM_BLD_free(build);
    BN_free(n);
    BN_free(e);
    return std::shared_ptr<EVP_PKEY>(key, &EVP_PKEY_free);
}

bool VerifySha1(EVP_PKEY *key, const std::string &data, const std::string &signature) {
    EVP_MD_CTX *context = EVP_MD_CTX_new();
    const bool ok =
        EVP_DigestVerifyInit(context, nullptr, EVP_sha1(), nullptr, key) == 1 &&
        EVP_DigestVerify(context, reinterpret_cast<const uint8_t *>(signature.data()),
                         signature.size(), reinterpret_cast<const uint8_t *>(data.data()),
                         data.size()) == 1;
    EVP_MD_CTX_free(context);
    return ok;
}

class EmvRequestTest : public KeysTest {
  protected:
    // The request of `key`, or "error N"; the 28-byte hash buffer into *hash.
    std::string Request(uint32_t scheme, const char *key, const uint8_t *typeField,
                        const uint8_t *bin = kBin, const char *expiry = "1230",
                        std::string *hash = nullptr) {
        QLibBuffer result{};
        uint8_t hashBuffer[28];
        std::memset(hashBuffer, 0xEE, sizeof hashBuffer);
        const uint32_t status = QGenerateEMV_CSREx(operator_, scheme, key, kSerial, typeField, bin,
                                                   expiry, &result, hashBuffer, 0);
        if (status != Q_OK) return Error(status);
        std::string request = Bytes(result.data, result.length);
        QFree(result.data);
        if (hash != nullptr) *hash = Bytes(hashBuffer, sizeof hashBuffer);
        return request;
    }
};

TEST_F(EmvRequestTest, EachSchemeCarriesItsFieldsSignedByTheIssuerKeyWithItsHash) {
    Generate(operator_, "issuer", Q_ALG_RSA_1152);
    struct Case {
        uint32_t scheme;
        const uint8_t *typeField;
        size_t hashLength;
    };
    for (const Case &c : {Case{Q_EMV_VISA, kServiceId, 20}, Case{Q_EMV_MASTERCARD, kFileIndex, 28},
                          Case{Q_EMV_ELO, kZeros, 0}, Case{Q_EMV_JCB, kFileIndex, 0}}) {
        SCOPED_TRACE(c.scheme);
        std::string hash;
        const std::string request = Request(c.scheme, "issuer", c.typeField, kBin, "1230", &hash);
        ASSERT_GT(request.size(), 8u) << request;
        EXPECT_EQ(uint8_t(request[0]), c.scheme);
        EXPECT_EQ(uint8_t(request[1]), 1);
        EXPECT_EQ(request.substr(2, 4), Bytes(c.typeField, 4));
        const size_t length = (uint8_t(request[6]) << 8) | uint8_t(request[7]);
        const std::string data = request.substr(8, length);

        const size_t n = uint8_t(data[12]), e = uint8_t(data[13]);
        EXPECT_EQ(data.substr(0, 12),
                  "\x02" + Bytes(kBin, 4) + "\x12\x30" + Bytes(kSerial, 3) + "\x01\x01");
        EXPECT_EQ(n, 1152u / 8);
        ASSERT_EQ(data.size(), 14 + n + e);
        EXPECT_EQ(data.substr(14 + n), std::string("\x01\x00\x01", 3));
        const std::string signature = request.substr(8 + length);
        ASSERT_EQ(signature.size(), n);

        auto key = RsaPublicKey(data.substr(14, n), data.substr(14 + n));
        EXPECT_TRUE(VerifySha1(key.get(), request.substr(0, 8 + length), signature));
        std::string forged = request.substr(0, 8 + length);
        forged[9] ^= 1;
        EXPECT_FALSE(VerifySha1(key.get(), forged, signature));

        std::string expected;
        if (c.scheme == Q_EMV_VISA) expected = Sha1(data);
        if (c.scheme == Q_EMV_MASTERCARD)
            expected = Bytes(kBin, 4) + Bytes(kSerial, 3) + "\x01" + Sha1(data);
        EXPECT_EQ(hash.substr(0, c.hashLength), expected);
        EXPECT_EQ(hash.substr(c.hashLength), std::string(28 - c.hashLength, '\0'));
    }
}

TEST_F(EmvRequestTest, KeysAndFieldsOutsideTheSchemeAreRefused) {
    Generate(operator_, "rsa512", Q_ALG_RSA_512);
    Generate(operator_, "rsa1024", Q_ALG_RSA_1024);
    Generate(operator_, "rsa1984", Q_ALG_RSA_1984, Q_KEY_RSA_EXPONENT_3);
    Generate(operator_, "rsa2048", Q_ALG_RSA_2048);
    Generate(operator_, "aes", Q_ALG_AES_128);
    const std::string tooShort = Error(Q_ERR_EMV_KEY_LENGTH);
    EXPECT_EQ(Request(Q_EMV_VISA, "rsa512", kServiceId), tooShort);
    EXPECT_EQ(Request(Q_EMV_MASTERCARD, "rsa2048", kFileIndex), tooShort);
    EXPECT_EQ(Request(Q_EMV_ELO, "rsa1024", kZeros), tooShort);  // ELO starts at 1152 bits
    EXPECT_NE(Request(Q_EMV_JCB, "rsa1024", kFileIndex).substr(0, 6), "error ");
    EXPECT_NE(Request(Q_EMV_ELO, "rsa1984", kZeros).substr(0, 6), "error ");
    EXPECT_EQ(Request(Q_EMV_VISA, "aes", kServiceId), Error(Q_ERR_BAD_ALGORITHM));
    EXPECT_EQ(Request(Q_EMV_VISA, "missing", kServiceId), Error(Q_ERR_NOT_FOUND));
    EXPECT_EQ(Request(5, "rsa1024", kServiceId), Error(Q_ERR_INVALID_PARAMETER));

    for (const auto &bin : {std::array<uint8_t, 4>{0x12, 0xFF, 0xFF, 0xFF},     // two digits
                            std::array<uint8_t, 4>{0x45, 0x1A, 0x34, 0xFF},     // not BCD
                            std::array<uint8_t, 4>{0x45, 0xF2, 0x34, 0xFF}}) {  // digit after F
        EXPECT_EQ(Request(Q_EMV_VISA, "rsa1024", kServiceId, bin.data()), Error(Q_ERR_EMV_BAD_BIN));
    }
    const uint8_t eightDigits[4] = {0x45, 0x12, 0x34, 0x56};
    EXPECT_NE(Request(Q_EMV_VISA, "rsa1024", kServiceId, eightDigits).substr(0, 6), "error ");
    for (const char *expiry : {"1330", "0030", "123", "12345", "12/3", "3012"})
        EXPECT_EQ(Request(Q_EMV_VISA, "rsa1024", kServiceId, kBin, expiry),
                  Error(Q_ERR_EMV_BAD_EXPIRY))
            << expiry;
}

}  // namespace
