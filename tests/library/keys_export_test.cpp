// Clear export of symmetric keys and blocking, through the library: what leaves the HSM is
// the very key it holds, and only when the key allows it.

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

}  // namespace
