// Hashes computed on the HSM through the library: published vectors, a key given to the hash
// or stored on the HSM, and misuse.

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <string>
#include <vector>

#include "keys_fixture.h"

namespace {

class HashTest : public KeysTest {
  protected:
    // The digest of `parts` fed one call each, keyed by `key` or by the stored key `stored`,
    // or the status that refused it as text.
    std::string Digest(uint32_t algorithm, const std::vector<std::string> &parts,
                       const std::string &key = "", QKeyHandle stored = 0) {
        QHashHandle hash = 0;
        uint32_t status = QCreateHash(operator_, algorithm, stored, 0, &hash);
        if (status != Q_OK) return Error(status);
        if (!key.empty()) {
            EXPECT_EQ(
                QSetHashParam(hash, Q_HASH_PARAM_KEY, reinterpret_cast<const uint8_t *>(key.data()),
                              static_cast<uint32_t>(key.size()), 0),
                Q_OK);
        }
        for (const std::string &part : parts)
            EXPECT_EQ(QHashData(hash, reinterpret_cast<const uint8_t *>(part.data()),
                                static_cast<uint32_t>(part.size()), 0),
                      Q_OK);
        uint32_t size = 0;
        uint32_t length = sizeof size;
        EXPECT_EQ(
            QGetHashParam(hash, Q_HASH_PARAM_SIZE, reinterpret_cast<uint8_t *>(&size), &length, 0),
            Q_OK);
        std::vector<uint8_t> value(size);
        length = size;
        status = QGetHashParam(hash, Q_HASH_PARAM_VALUE, value.data(), &length, 0);
        EXPECT_EQ(QDestroyHash(hash), Q_OK);
        if (status != Q_OK) return Error(status);
        EXPECT_EQ(length, size);
        return Hex(value.data(), length);
    }
};

TEST_F(HashTest, DigestsAndHmacsMatchPublishedVectorsAndMisuseIsReportedNotIgnored) {
    EXPECT_EQ(Digest(Q_HASH_MD5, {"abc"}), "900150983CD24FB0D6963F7D28E17F72");
    EXPECT_EQ(Digest(Q_HASH_SHA1, {"abc"}), "A9993E364706816ABA3E25717850C26C9CD0D89D");
    EXPECT_EQ(Digest(Q_HASH_SHA256, {"abc"}),
              "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD");
    EXPECT_EQ(Digest(Q_HASH_SHA224, {"abc"}),
              "23097D223405D8228642A477BDA255B32AADBCE4BDA0B3F7E36C9DA7");
    EXPECT_EQ(Digest(Q_HASH_SHA3_256, {"abc"}),
              "3A985DA74FE225B2045C172D6BD390BD855F086E3E9D525B46BFE24511431532");
    EXPECT_EQ(Digest(Q_HASH_SHA512, {"abc"}).substr(0, 32), "DDAF35A193617ABACC417349AE204131");
    // Data given in several calls hashes as one message.
    EXPECT_EQ(Digest(Q_HASH_SHA256, {"a", "", "bc"}), Digest(Q_HASH_SHA256, {"abc"}));
    // RFC 4231, test case 1: key 20 x 0x0b, data "Hi There".
    EXPECT_EQ(Digest(Q_ALG_HMAC_SHA256, {"Hi There"}, std::string(20, '\x0b')),
              "B0344C61D8DB38535CA8AFCEAF0BF12B881DC200C9833DA726E9376C2E32CFF7");
    // Test case 2: key "Jefe".
    EXPECT_EQ(Digest(Q_ALG_HMAC_SHA256, {"what do ya want ", "for nothing?"}, "Jefe"),
              "5BDCC146BF60754E6A042426089575C75A003F089D2739839DEC58B964EC3843");

    QHashHandle hash = 0;
    EXPECT_EQ(QCreateHash(operator_, 3, 0, 0, &hash), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QCreateHash(operator_, 200, 0, 0, &hash), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QCreateHash(operator_, Q_ALG_HMAC_SHA256, 12345, 0, &hash), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(hash, 0u);

    ASSERT_EQ(QCreateHash(operator_, Q_HASH_SHA256, 0, 0, &hash), Q_OK);
    uint8_t digest[32];
    uint32_t length = 16;
    EXPECT_EQ(QGetHashParam(hash, Q_HASH_PARAM_VALUE, digest, &length, 0), Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 32u);
    EXPECT_EQ(QGetHashParam(hash, 99, digest, &length, 0), Q_ERR_NOT_SUPPORTED);
    EXPECT_EQ(QHashData(hash, nullptr, 4, 0), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QDestroyHash(hash), Q_OK);
}

TEST_F(HashTest, KeyedHashRunsOnTheStoredKeyOnlyWhileItMayBeUsed) {
    uint8_t secret[32];
    for (size_t i = 0; i < sizeof secret; ++i)
        secret[i] = static_cast<uint8_t>(i * 7);
    const char data[] = "what do ya want for nothing?";
    uint8_t expected[32];
    unsigned expectedLength = 0;
    HMAC(EVP_sha256(), secret, sizeof secret, reinterpret_cast<const uint8_t *>(data),
         sizeof data - 1, expected, &expectedLength);
    QKeyHandle hmac = 0, des = ImportDes("des", Q_KEY_EXPORTABLE);
    ASSERT_EQ(QImportKey(operator_, "hmac", 0, Q_BLOB_CLEAR_SYMMETRIC, Q_ALG_HMAC_SHA256, 0, secret,
                         sizeof secret, &hmac),
              Q_OK);
    const std::vector<std::string> message = {data};
    auto mac = [&](QKeyHandle key, uint32_t algorithm) {
        return Digest(algorithm, message, "", key);
    };
    EXPECT_EQ(mac(hmac, Q_ALG_HMAC_SHA256), Hex(expected, expectedLength));
    EXPECT_EQ(mac(hmac, Q_ALG_HMAC_SHA512), Error(Q_ERR_WRONG_OBJECT_TYPE));
    EXPECT_EQ(mac(hmac, Q_HASH_SHA256), Error(Q_ERR_WRONG_OBJECT_TYPE));
    EXPECT_EQ(mac(des, Q_ALG_HMAC_SHA256), Error(Q_ERR_WRONG_OBJECT_TYPE));
    ASSERT_EQ(SetBlocked(hmac, 1), Q_OK);
    EXPECT_EQ(mac(hmac, Q_ALG_HMAC_SHA256), Error(Q_ERR_KEY_BLOCKED));

    // A handle of another session is no key of this one.
    QSessionHandle other = OpenOperator(Q_SESSION_CLEAR);
    QKeyHandle foreign = 0;
    ASSERT_EQ(QGetUserKey(other, "hmac", 0, &foreign), Q_OK);
    EXPECT_EQ(mac(foreign, Q_ALG_HMAC_SHA256), Error(Q_ERR_INVALID_HANDLE));
    EXPECT_EQ(mac(0x7777, Q_ALG_HMAC_SHA256), Error(Q_ERR_INVALID_HANDLE));
}

}  // namespace
