// Clear-key import and export, check values, blocking and the component ceremony through the
// library: what leaves the HSM is the very key it holds, and only when the key allows it.

#include <cstring>

#include "keys_fixture.h"

namespace {

TEST_F(KeysTest, ClearImportKeepsTheKeyItWasGivenAndCheckValuesAgreeOffline) {
    QKeyHandle des = ImportDes("des"), key = 0;
    EXPECT_EQ(Word(des, Q_KEY_PARAM_ALGORITHM), Q_ALG_DES);
    EXPECT_EQ(Kcv(operator_, "des"), "D5D44F");
    const uint8_t zeros[32] = {};
    ASSERT_EQ(
        QImportKey(operator_, "aes", 0, Q_BLOB_CLEAR_SYMMETRIC, Q_ALG_AES_128, 0, zeros, 16, &key),
        Q_OK);
    EXPECT_EQ(Kcv(operator_, "aes"), "66E94B");
    // The HSM and the offline computation agree on both formats.
    EXPECT_EQ(Kcv(operator_, "aes", Q_KCV_FORMAT_CMAC),
              OfflineKcv(Q_KCV_OFFLINE_CMAC, Q_ALG_AES_128, zeros, 16));
    EXPECT_EQ(Kcv(operator_, "des", Q_KCV_FORMAT_CMAC),
              OfflineKcv(Q_KCV_OFFLINE_CMAC, Q_ALG_DES, kDesKey, 8));

    for (uint32_t algorithm : {Q_ALG_DESX, Q_ALG_ARC4, Q_ALG_ARC5, Q_ALG_HMAC_SHA256}) {
        std::string name = "alg" + std::to_string(algorithm);
        uint32_t length = algorithm == Q_ALG_DESX ? 24 : algorithm == Q_ALG_HMAC_SHA256 ? 32 : 16;
        ASSERT_EQ(QImportKey(operator_, name.c_str(), 0, Q_BLOB_CLEAR_SYMMETRIC, algorithm, 0,
                             zeros, length, &key),
                  Q_OK);
    }
    EXPECT_EQ(Kcv(operator_, "alg10"), "DE1889") << "RC4 keystream of a zero key";
    EXPECT_EQ(Kcv(operator_, "alg94"), Error(Q_ERR_BAD_ALGORITHM));
    EXPECT_EQ(Kcv(operator_, "alg91", Q_KCV_FORMAT_CMAC), Error(Q_ERR_BAD_ALGORITHM));

    EXPECT_EQ(QImportKey(operator_, "k", 0, Q_BLOB_CLEAR_SYMMETRIC, Q_ALG_DES, 0, kDesKey, 7, &key),
              Q_ERR_INVALID_LENGTH);
    EXPECT_EQ(
        QImportKey(operator_, "k", 0, Q_BLOB_CLEAR_SYMMETRIC, Q_ALG_RSA_1024, 0, kDesKey, 8, &key),
        Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QImportKey(operator_, "k", 0, 99, Q_ALG_DES, 0, kDesKey, 8, &key),
              Q_ERR_NOT_SUPPORTED);
    EXPECT_EQ(Kcv(operator_, "k"), Error(Q_ERR_NOT_FOUND));
    EXPECT_EQ(Kcv(operator_, "k", 7), Error(Q_ERR_INVALID_PARAMETER));

    EXPECT_EQ(OfflineKcv(Q_KCV_OFFLINE_KCV, Q_ALG_DES, kDesKey, 8), "D5D44F");
    EXPECT_EQ(OfflineKcv(Q_KCV_OFFLINE_KCV, Q_ALG_DES, zeros, 8), "8CA64D");
    EXPECT_EQ(OfflineKcv(Q_KCV_OFFLINE_KCV, Q_ALG_3DES_168, zeros, 24), "8CA64D");
    EXPECT_EQ(OfflineKcv(Q_KCV_OFFLINE_KCV, Q_ALG_DES, kDesKey, 16), Error(Q_ERR_INVALID_LENGTH));
    EXPECT_EQ(OfflineKcv(Q_KCV_FORMAT_KCV, Q_ALG_DES, kDesKey, 8), Error(Q_ERR_INVALID_PARAMETER));
    EXPECT_EQ(OfflineKcv(Q_KCV_OFFLINE_KCV, Q_ALG_ARC4, zeros, 16), Error(Q_ERR_BAD_ALGORITHM));
}

// A DES-family record from components; the final check value is computed offline.
QEftComponentRecord DesRecord(uint32_t algorithm, const std::vector<std::vector<uint8_t>> &parts) {
    QEftComponentRecord record{};
    const uint8_t zeroKcv[3] = {0x8C, 0xA6, 0x4D};
    std::memcpy(record.kcv3, zeroKcv, 3);
    uint8_t *slots[] = {record.component1, record.component2, record.component3};
    uint8_t *kcvs[] = {record.kcv1, record.kcv2, record.kcv3};
    std::vector<uint8_t> whole(parts[0].size(), 0);
    for (size_t i = 0; i < parts.size(); ++i) {
        std::memcpy(slots[i], parts[i].data(), parts[i].size());
        uint32_t length = 3;
        EXPECT_EQ(QEFTGenKCVOffline(Q_KCV_OFFLINE_KCV, algorithm, parts[i].data(),
                                    static_cast<uint32_t>(parts[i].size()), 0, kcvs[i], &length, 0),
                  Q_OK);
        for (size_t b = 0; b < whole.size(); ++b)
            whole[b] ^= parts[i][b];
    }
    uint32_t length = 3;
    EXPECT_EQ(QEFTGenKCVOffline(Q_KCV_OFFLINE_KCV, algorithm, whole.data(),
                                static_cast<uint32_t>(whole.size()), 0, record.keyKcv, &length, 0),
              Q_OK);
    return record;
}

TEST_F(KeysTest, ComponentCeremoniesJoinAndVerifyOnTheHsm) {
    std::vector<uint8_t> a(8, 0x13), b(kDesKey, kDesKey + 8);
    QEftComponentRecord two = DesRecord(Q_ALG_DES, {a, b});
    ASSERT_EQ(QEFTImportKey(operator_, "des2", Q_ALG_DES, &two, 0), Q_OK);
    EXPECT_EQ(Kcv(operator_, "des2"), Hex(two.keyKcv, 3));
    EXPECT_EQ(Word("des2", Q_KEY_PARAM_EXPORT), 1u) << "a ceremony never makes an exportable key";

    std::vector<uint8_t> c(24, 0x5A), d(24, 0xC3), e(24, 0x0F);
    QEftComponentRecord three = DesRecord(Q_ALG_3DES_168, {c, d, e});
    ASSERT_EQ(QEFTImportKey(operator_, "tdes3", Q_ALG_3DES_168, &three, 0), Q_OK);
    EXPECT_EQ(Kcv(operator_, "tdes3"), Hex(three.keyKcv, 3));

    QEftComponentRecord wrongPart = DesRecord(Q_ALG_DES, {a, b});
    wrongPart.kcv2[0] ^= 1;
    EXPECT_EQ(QEFTImportKey(operator_, "bad1", Q_ALG_DES, &wrongPart, 0), Q_ERR_KCV_MISMATCH);
    QEftComponentRecord wrongFinal = DesRecord(Q_ALG_DES, {a, b});
    wrongFinal.keyKcv[2] ^= 1;
    EXPECT_EQ(QEFTImportKey(operator_, "bad2", Q_ALG_DES, &wrongFinal, 0), Q_ERR_KCV_MISMATCH);
    EXPECT_EQ(QEFTImportKey(operator_, "des2", Q_ALG_DES, &two, 0), Q_ERR_ALREADY_EXISTS);
    EXPECT_EQ(QEFTImportKey(operator_, "hmac", Q_ALG_HMAC_SHA1, &two, 0), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(List(operator_), (std::vector<std::string>{"des2", "tdes3"}));

    // AES: the final value is checked in the format chosen, and the attribute word is kept.
    QEftAesComponentRecord record{};
    record.attributes = Q_KEY_EXPORTABLE;
    std::memset(record.component1, 0x11, 32);
    std::memset(record.component2, 0x22, 32);
    std::memset(record.component3, 0x44, 32);
    uint8_t whole[32];
    std::memset(whole, 0x77, sizeof whole);
    uint32_t length = 3;
    ASSERT_EQ(QEFTGenKCVOffline(Q_KCV_OFFLINE_CMAC, Q_ALG_AES_256, whole, 32, 0, record.keyKcv,
                                &length, 0),
              Q_OK);
    EXPECT_EQ(QEFTImportKey(operator_, "aes", Q_ALG_AES_256, &record, Q_KCV_FORMAT_KCV),
              Q_ERR_KCV_MISMATCH);
    ASSERT_EQ(QEFTImportKey(operator_, "aes", Q_ALG_AES_256, &record, Q_KCV_FORMAT_CMAC), Q_OK);
    EXPECT_EQ(Kcv(operator_, "aes", Q_KCV_FORMAT_CMAC), Hex(record.keyKcv, 3));
    EXPECT_EQ(Word("aes", Q_KEY_PARAM_EXPORT), 0u);
}

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
