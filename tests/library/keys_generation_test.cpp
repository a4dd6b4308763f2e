// Key generation through the library: every served family, attributes, refusals, handles.

#include <cstring>

#include "keys_fixture.h"

namespace {

struct Expected {
    uint32_t algorithm;
    uint32_t length;  // bytes
};

TEST_F(KeysTest, GeneratesEveryFamilyWithItsLength) {
    const Expected cases[] = {
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
        {Q_ALG_RSA_512, 64},
        {Q_ALG_RSA_1152, 144},
        {Q_ALG_RSA_1976, 247},
        {18, 14},
        {20, 16},
        {22, 20},
        {23, 20},
        {25, 24},
        {26, 24},
        {27, 28},
        {28, 28},
        {29, 32},
        {30, 32},
        {31, 48},
        {32, 66},
        {33, 24},
        {35, 30},
        {38, 20},
        {39, 20},
        {40, 24},
        {41, 24},
        {42, 28},
        {43, 28},
        {44, 32},
        {45, 32},
        {46, 40},
        {47, 40},
        {48, 48},
        {49, 48},
        {50, 64},
        {51, 64},
        {Q_ALG_ED25519, 32},
        {Q_ALG_ED448, 57},
        {Q_ALG_X25519, 32},
        {Q_ALG_X448, 56},
    };
    for (const Expected &c : cases) {
        std::string name = "k" + std::to_string(c.algorithm);
        QKeyHandle key = 0;
        ASSERT_EQ(QGenerateKey(session_, name.c_str(), c.algorithm, 0, &key), Q_OK)
            << "algorithm " << c.algorithm;
        EXPECT_EQ(Word(key, Q_KEY_PARAM_ALGORITHM), c.algorithm);
        EXPECT_EQ(Word(key, Q_KEY_PARAM_LENGTH), c.length) << "algorithm " << c.algorithm;
        EXPECT_EQ(Word(key, Q_KEY_PARAM_EXPORT), 1u) << "not exportable unless asked";
        EXPECT_EQ(Word(key, Q_KEY_PARAM_TEMPORARY), 1u);
        EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    }
    EXPECT_EQ(List(session_).size(), std::size(cases));
}

TEST_F(KeysTest, AttributeWordTravelsWithTheKey) {
    QKeyHandle key = 0;
    const uint32_t flags = Q_KEY_EXPORTABLE | Q_KEY_USAGE_PROFILE(23);
    ASSERT_EQ(QGenerateKey(session_, "aes", Q_ALG_AES_256, flags, &key), Q_OK);
    EXPECT_EQ(Word(key, Q_KEY_PARAM_EXPORT), 0u);
    QKeyRecord record{};
    uint32_t length = sizeof record;
    ASSERT_EQ(QGetKeyParam(key, Q_KEY_PARAM_RECORD, &record, &length, 0), Q_OK);
    EXPECT_EQ(record.attributes, flags);
    EXPECT_EQ(record.algorithm, Q_ALG_AES_256);

    QKeyLifeCycle cycle{};
    length = sizeof cycle;
    ASSERT_EQ(QGetKeyParam(key, Q_KEY_PARAM_LIFE_CYCLE, &cycle, &length, 0), Q_OK);
    EXPECT_EQ(cycle.state, Q_KEY_STATE_ACTIVE);
    EXPECT_NE(cycle.initialDate, 0u);
    EXPECT_EQ(cycle.activationDate, cycle.initialDate);
    EXPECT_NE(cycle.usageMask & 0x40, 0u) << "an exportable key may be exported";
    EXPECT_EQ(QDestroyKey(key, 0), Q_OK);

    QKeyHandle chain = 0;
    ASSERT_EQ(QGenerateKey(session_, "chain", 29, Q_KEY_BLOCKCHAIN, &chain), Q_OK);
    length = sizeof record;
    ASSERT_EQ(QGetKeyParam(chain, Q_KEY_PARAM_RECORD, &record, &length, 0), Q_OK);
    EXPECT_EQ(record.attributes, Q_KEY_BLOCKCHAIN);
    EXPECT_EQ(QDestroyKey(chain, 0), Q_OK);
}

TEST_F(KeysTest, RsaPublicExponentFollowsTheAttribute) {
    for (uint32_t flags : {0u, Q_KEY_RSA_EXPONENT_3}) {
        std::string name = "rsa" + std::to_string(flags);
        QKeyHandle key = 0;
        ASSERT_EQ(QGenerateKey(session_, name.c_str(), Q_ALG_RSA_1024, flags, &key), Q_OK);
        uint8_t *exponent = nullptr;
        uint32_t length = sizeof exponent;
        ASSERT_EQ(QGetKeyParam(key, Q_KEY_PARAM_RSA_EXPONENT, &exponent, &length, 0), Q_OK);
        EXPECT_EQ(Hex(exponent, length), flags ? "03" : "010001");
        QFree(exponent);
        EXPECT_EQ(Word(key, Q_KEY_PARAM_LENGTH), 128u);
        EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    }
}

TEST_F(KeysTest, RefusesWhatTheHsmCannotServeAndStoresNothing) {
    QKeyHandle key = 0;
    EXPECT_EQ(QGenerateKey(session_, "x", 19, 0, &key), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QGenerateKey(session_, "x", 999, 0, &key), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QGenerateKey(session_, "x", Q_ALG_AES_128, Q_KEY_RSA_EXPONENT_3, &key),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGenerateKey(session_, "x", Q_ALG_AES_128, Q_KEY_BLOCKCHAIN, &key),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGenerateKey(session_, "x", Q_ALG_AES_128, Q_KEY_USAGE_PROFILE(1), &key),
              Q_ERR_INVALID_PARAMETER)
        << "signature profile on an AES key";
    EXPECT_EQ(QGenerateKey(session_, "x", Q_ALG_DES, Q_KEY_USAGE_PROFILE(26), &key),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGenerateKey(session_, "", Q_ALG_DES, 0, &key), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGenerateKey(session_, std::string(50, 'n').c_str(), Q_ALG_DES, 0, &key),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(List(session_).empty());

    ASSERT_EQ(QGenerateKey(session_, std::string(49, 'n').c_str(), Q_ALG_DES, 0, &key), Q_OK);
    EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    EXPECT_EQ(QGenerateKey(session_, std::string(49, 'n').c_str(), Q_ALG_AES_128, 0, &key),
              Q_ERR_ALREADY_EXISTS);
}

TEST_F(KeysTest, ReleasedAndOrphanedHandlesAreInvalid) {
    QKeyHandle key = 0;
    ASSERT_EQ(QGenerateKey(session_, "k", Q_ALG_AES_128, 0, &key), Q_OK);
    uint32_t value = 0, length = sizeof value;
    EXPECT_EQ(QGetKeyParam(key, 99, &value, &length, 0), Q_ERR_NOT_SUPPORTED);
    length = 2;
    EXPECT_EQ(QGetKeyParam(key, Q_KEY_PARAM_ALGORITHM, &value, &length, 0), Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    length = sizeof value;
    EXPECT_EQ(QGetKeyParam(key, Q_KEY_PARAM_ALGORITHM, &value, &length, 0), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QDestroyKey(key, 0), Q_ERR_INVALID_HANDLE);

    ASSERT_EQ(QGetUserKey(session_, "k", Q_KEY_OPEN_DEFAULT, &key), Q_OK);
    ASSERT_EQ(QCloseSession(&session_, 0), Q_OK);
    EXPECT_EQ(QGetKeyParam(key, Q_KEY_PARAM_ALGORITHM, &value, &length, 0), Q_ERR_INVALID_HANDLE);
}

TEST_F(KeysTest, KeysSurviveARestartOfTheHsm) {
    QKeyHandle key = 0;
    ASSERT_EQ(QGenerateKey(session_, "durable", Q_ALG_DES, 0, &key), Q_OK);
    std::string before = Kcv(session_, "durable");
    EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    sim_.Kill();
    sim_.Restart();
    QSessionHandle again = OpenOperator();
    EXPECT_EQ(Kcv(again, "durable"), before);
}

}  // namespace
