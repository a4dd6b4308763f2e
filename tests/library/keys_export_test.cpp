// Clear export of symmetric keys and blocking, through the library: what leaves the HSM is
// the very key it holds, and only when the key allows it.

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "keys_fixture.h"

namespace {

using ExportTest = KeysTest;

TEST_F(ExportTest, ClearExportGivesBackTheKeyTheHsmHoldsOnlyWhenTheKeyAllowsIt) {
    QKeyHandle des = ImportDes("des", Q_KEY_EXPORTABLE), locked = ImportDes("locked"), rsa = 0;
    EXPECT_EQ(Export(des), "0123456789ABCDEF");
    EXPECT_EQ(Export(locked), Error(Q_ERR_NOT_EXPORTABLE));
    ASSERT_EQ(QGenerateKey(operator_, "rsa", Q_ALG_RSA_512, Q_KEY_EXPORTABLE, &rsa), Q_OK);
    EXPECT_EQ(Export(rsa), Error(Q_ERR_WRONG_OBJECT_TYPE));
    EXPECT_EQ(Export(des, Q_BLOB_CLEAR_SYMMETRIC, rsa), Error(Q_ERR_NOT_SUPPORTED))
        << "wrapping is not served";
    EXPECT_EQ(Export(des, 77), Error(Q_ERR_NOT_SUPPORTED));
    uint32_t length = 0;
    EXPECT_EQ(QExportKey(des, 0, Q_BLOB_CLEAR_SYMMETRIC, nullptr, &length, 0),
              Q_ERR_INVALID_PARAMETER);
    // The handle names the key it was opened on, not whatever later bears its name.
    ASSERT_EQ(QRemoveObj(operator_, "des"), Q_OK);
    QKeyHandle again = ImportDes("des", Q_KEY_EXPORTABLE);
    EXPECT_EQ(Export(des), Error(Q_ERR_NOT_FOUND));
    EXPECT_EQ(Export(again), "0123456789ABCDEF");

    // Over a clear session too; a generated key's export matches the HSM's check value.
    QSessionHandle clear = OpenOperator(Q_SESSION_CLEAR);
    QKeyHandle aes = 0;
    ASSERT_EQ(QGenerateKey(clear, "aes", Q_ALG_AES_256, Q_KEY_EXPORTABLE, &aes), Q_OK);
    uint8_t *blob = nullptr;
    ASSERT_EQ(QExportKey(aes, 0, Q_BLOB_CLEAR_SYMMETRIC, &blob, &length, 0), Q_OK);
    EXPECT_EQ(length, 32u);
    EXPECT_EQ(OfflineKcv(Q_KCV_OFFLINE_KCV, Q_ALG_AES_256, blob, length), Kcv(clear, "aes"));
    QFree(blob);
}

TEST_F(ExportTest, BlockedKeyKeepsItsCheckValueButCannotLeave) {
    QKeyHandle des = ImportDes("des", Q_KEY_EXPORTABLE);
    ASSERT_EQ(SetBlocked(des, 1), Q_OK);
    EXPECT_EQ(Word(des, Q_KEY_PARAM_BLOCKED), 1u);
    EXPECT_EQ(Export(des), Error(Q_ERR_KEY_BLOCKED));
    EXPECT_EQ(Kcv(operator_, "des"), "D5D44F");
    EXPECT_EQ(QSetKeyParam(des, Q_KEY_PARAM_EXPORT, "\0\0\0\0", 4, 0), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(SetBlocked(des, 2), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(SetBlocked(des, 0, 2), Q_ERR_INVALID_LENGTH);
    ASSERT_EQ(QGenerateMapObj(operator_, "map", "des", 0, "des", 0), Q_OK);
    QKeyHandle map = 0;
    ASSERT_EQ(QGetUserKey(operator_, "map", 0, &map), Q_OK);
    EXPECT_EQ(SetBlocked(map, 1), Q_ERR_WRONG_OBJECT_TYPE);

    // The HSM keeps the key and its state, also through a crash: a fresh handle sees both.
    sim_.Kill();
    sim_.Restart();
    QSessionHandle session = OpenOperator();
    QKeyHandle reopened = 0;
    ASSERT_EQ(QGetUserKey(session, "des", 0, &reopened), Q_OK);
    EXPECT_EQ(Word(reopened, Q_KEY_PARAM_BLOCKED), 1u);
    ASSERT_EQ(SetBlocked(reopened, 0), Q_OK);
    EXPECT_EQ(Export(reopened), "0123456789ABCDEF");
}

TEST_F(ExportTest, KeyedHashRunsOnTheStoredKeyOnlyWhileItMayBeUsed) {
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
    auto mac = [&](QKeyHandle key, uint32_t algorithm) {
        QHashHandle hash = 0;
        uint32_t status = QCreateHash(operator_, algorithm, key, 0, &hash);
        if (status != Q_OK) return Error(status);
        uint8_t digest[64];
        uint32_t length = sizeof digest;
        EXPECT_EQ(QHashData(hash, reinterpret_cast<const uint8_t *>(data), sizeof data - 1, 0),
                  Q_OK);
        status = QGetHashParam(hash, Q_HASH_PARAM_VALUE, digest, &length, 0);
        EXPECT_EQ(QDestroyHash(hash), Q_OK);
        return status == Q_OK ? Hex(digest, length) : Error(status);
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
