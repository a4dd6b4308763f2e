// Key generation through the library: every served family, attributes, refusals, handles.

#include <cstring>

#include "keys_fixture.h"

namespace {

TEST_F(KeysTest, GeneratesEveryFamilyWithItsLength) {
    // The bytes of a key and the families whose keys have them; the bare numbers are curves.
    const std::pair<uint32_t, std::vector<uint32_t>> lengths[] = {
        {8, {Q_ALG_DES}},
        {14, {18}},
        {16, {Q_ALG_3DES_112, Q_ALG_AES_128, Q_ALG_ARC4, Q_ALG_ARC5, Q_ALG_HMAC_MD5, 20}},
        {20, {Q_ALG_HMAC_SHA1, 22, 23, 38, 39}},
        {24, {Q_ALG_3DES_168, Q_ALG_DESX, Q_ALG_AES_192, 25, 26, 33, 40, 41}},
        {28, {Q_ALG_HMAC_SHA224, Q_ALG_HMAC_SHA3_224, 27, 28, 42, 43}},
        {30, {35}},
        {32,
         {Q_ALG_AES_256, Q_ALG_HMAC_SHA256, Q_ALG_HMAC_SHA3_256, 29, 30, 44, 45, Q_ALG_ED25519,
          Q_ALG_X25519}},
        {40, {46, 47}},
        {48, {Q_ALG_HMAC_SHA384, Q_ALG_HMAC_SHA3_384, 31, 48, 49}},
        {56, {Q_ALG_X448}},
        {57, {Q_ALG_ED448}},
        {64, {Q_ALG_RSA_512, Q_ALG_HMAC_SHA512, Q_ALG_HMAC_SHA3_512, 50, 51}},
        {66, {32}},
        {144, {Q_ALG_RSA_1152}},
        {247, {Q_ALG_RSA_1976}},
    };
    size_t generated = 0;
    for (const auto &[bytes, algorithms] : lengths) {
        for (uint32_t algorithm : algorithms) {
            std::string name = "k" + std::to_string(algorithm);
            QKeyHandle key = 0;
            ASSERT_EQ(QGenerateKey(operator_, name.c_str(), algorithm, 0, &key), Q_OK) << name;
            EXPECT_EQ(Word(key, Q_KEY_PARAM_ALGORITHM), algorithm);
            EXPECT_EQ(Word(key, Q_KEY_PARAM_LENGTH), bytes) << name;
            EXPECT_EQ(Word(key, Q_KEY_PARAM_EXPORT), 1u) << "not exportable unless asked";
            EXPECT_EQ(Word(key, Q_KEY_PARAM_TEMPORARY), 1u);
            EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
            ++generated;
        }
    }
    EXPECT_EQ(generated, 54u);
    EXPECT_EQ(List(operator_).size(), generated);
}

TEST_F(KeysTest, AttributesTravelWithTheKey) {
    QKeyHandle key = 0;
    const uint32_t flags = Q_KEY_EXPORTABLE | Q_KEY_USAGE_PROFILE(23);
    ASSERT_EQ(QGenerateKey(operator_, "aes", Q_ALG_AES_256, flags, &key), Q_OK);
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
    ASSERT_EQ(QGenerateKey(operator_, "chain", 29, Q_KEY_BLOCKCHAIN, &chain), Q_OK);
    length = sizeof record;
    ASSERT_EQ(QGetKeyParam(chain, Q_KEY_PARAM_RECORD, &record, &length, 0), Q_OK);
    EXPECT_EQ(record.attributes, Q_KEY_BLOCKCHAIN);
    EXPECT_EQ(QDestroyKey(chain, 0), Q_OK);

    // The RSA public exponent follows its attribute.
    for (uint32_t exponent3 : {0u, Q_KEY_RSA_EXPONENT_3}) {
        std::string name = "rsa" + std::to_string(exponent3);
        ASSERT_EQ(QGenerateKey(operator_, name.c_str(), Q_ALG_RSA_1024, exponent3, &key), Q_OK);
        uint8_t *exponent = nullptr;
        length = sizeof exponent;
        ASSERT_EQ(QGetKeyParam(key, Q_KEY_PARAM_RSA_EXPONENT, &exponent, &length, 0), Q_OK);
        EXPECT_EQ(Hex(exponent, length), exponent3 ? "03" : "010001");
        QFree(exponent);
        EXPECT_EQ(Word(key, Q_KEY_PARAM_LENGTH), 128u);
        EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    }
}

TEST_F(KeysTest, RefusesWhatTheHsmCannotServeAndReleasedOrOrphanedHandlesAreInvalid) {
    QKeyHandle key = 0;
    EXPECT_EQ(QGenerateKey(operator_, "x", 19, 0, &key), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QGenerateKey(operator_, "x", 999, 0, &key), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QGenerateKey(operator_, "x", Q_ALG_AES_128, Q_KEY_RSA_EXPONENT_3, &key),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGenerateKey(operator_, "x", Q_ALG_AES_128, Q_KEY_BLOCKCHAIN, &key),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGenerateKey(operator_, "x", Q_ALG_AES_128, Q_KEY_USAGE_PROFILE(1), &key),
              Q_ERR_INVALID_PARAMETER)
        << "signature profile on an AES key";
    EXPECT_EQ(QGenerateKey(operator_, "x", Q_ALG_DES, Q_KEY_USAGE_PROFILE(26), &key),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGenerateKey(operator_, "", Q_ALG_DES, 0, &key), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QGenerateKey(operator_, std::string(50, 'n').c_str(), Q_ALG_DES, 0, &key),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(List(operator_).empty());

    ASSERT_EQ(QGenerateKey(operator_, std::string(49, 'n').c_str(), Q_ALG_DES, 0, &key), Q_OK);
    EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    EXPECT_EQ(QGenerateKey(operator_, std::string(49, 'n').c_str(), Q_ALG_AES_128, 0, &key),
              Q_ERR_ALREADY_EXISTS);

    ASSERT_EQ(QGenerateKey(operator_, "k", Q_ALG_AES_128, 0, &key), Q_OK);
    uint32_t value = 0, length = sizeof value;
    EXPECT_EQ(QGetKeyParam(key, 99, &value, &length, 0), Q_ERR_NOT_SUPPORTED);
    length = 2;
    EXPECT_EQ(QGetKeyParam(key, Q_KEY_PARAM_ALGORITHM, &value, &length, 0), Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    length = sizeof value;
    EXPECT_EQ(QGetKeyParam(key, Q_KEY_PARAM_ALGORITHM, &value, &length, 0), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QDestroyKey(key, 0), Q_ERR_INVALID_HANDLE);

    ASSERT_EQ(QGetUserKey(operator_, "k", Q_KEY_OPEN_DEFAULT, &key), Q_OK);
    ASSERT_EQ(QCloseSession(&operator_, 0), Q_OK);
    EXPECT_EQ(QGetKeyParam(key, Q_KEY_PARAM_ALGORITHM, &value, &length, 0), Q_ERR_INVALID_HANDLE);
}

}  // namespace
