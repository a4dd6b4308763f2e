// Payment keys on the HSM: CVVs, keys exchanged under a KEK, and keys handed to custodians as
// components that import back elsewhere.

#include <cstring>

#include "keys_fixture.h"

namespace {

// The double-length key of the published CVV example.
constexpr uint8_t kCvk[16] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                              0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};
constexpr uint8_t kKek[24] = {0x40, 0x13, 0x7C, 0x2A, 0x85, 0xE6, 0xB3, 0x10,
                              0x29, 0x6D, 0xF4, 0x5B, 0x0E, 0x97, 0xC8, 0x31,
                              0x73, 0xAE, 0x15, 0x68, 0xD0, 0x4C, 0x8F, 0xB9};

class EftKeysTest : public KeysTest {
  protected:
    void SetUp() override {
        KeysTest::SetUp();
        AddUser("bank2", "Passw0rd!x");
        other_ = Login("bank2");
        ASSERT_NE(other_, 0u);
    }
    void TearDown() override {
        if (other_ != 0) QCloseSession(&other_, 0);
        KeysTest::TearDown();
    }

    std::string Cvv(const char *key, const char *pan, const char *expiration, const char *svc) {
        char cvv[4] = "xxx";
        uint32_t status = QGenerateCVV(operator_, key, pan, expiration, svc, cvv, 0);
        return status == Q_OK ? std::string(cvv) : Error(status);
    }

    QSessionHandle other_ = 0;
};

TEST_F(EftKeysTest, CvvMatchesKnownAnswersAndTheHsmRefusesBadCardData) {
    Import(operator_, "cvk", Q_ALG_3DES_112, kCvk, sizeof kCvk);
    EXPECT_EQ(Cvv("cvk", "4123456789012345", "8701", "101"), "561");
    EXPECT_EQ(Cvv("cvk", "4123456789012345", "8701", "000"), "636");  // CVV2
    EXPECT_EQ(Cvv("cvk", "4123456789012345", "8701", "999"), "651");  // iCVV
    EXPECT_EQ(Cvv("cvk", "5555555555554444", "2512", "201"), "624");

    EXPECT_EQ(Cvv("cvk", "41234567890", "8701", "101"), Error(Q_ERR_BAD_PAN));
    EXPECT_EQ(Cvv("cvk", "412345678901234X", "8701", "101"), Error(Q_ERR_BAD_PAN));
    EXPECT_EQ(Cvv("cvk", "41234567890123456789", "8701", "101"), Error(Q_ERR_BAD_PAN));
    EXPECT_EQ(Cvv("cvk", "4123456789012345", "8713", "101"), Error(Q_ERR_BAD_EXPIRATION_DATE));
    EXPECT_EQ(Cvv("cvk", "4123456789012345", "870", "101"), Error(Q_ERR_BAD_EXPIRATION_DATE));
    EXPECT_EQ(Cvv("cvk", "4123456789012345", "8701", "1O1"), Error(Q_ERR_BAD_SERVICE_CODE));
    EXPECT_EQ(Cvv("cvk", "4123456789012345", "8701", "1010"), Error(Q_ERR_BAD_SERVICE_CODE));

    ImportDes("des");
    EXPECT_EQ(Cvv("des", "4123456789012345", "8701", "101"), Error(Q_ERR_BAD_ALGORITHM));
    EXPECT_EQ(Cvv("none", "4123456789012345", "8701", "101"), Error(Q_ERR_NOT_FOUND));
    EXPECT_NE(ExportedLog(sim_.dataDir()).find("CVV generated with key: cvk"), std::string::npos);
}

TEST_F(EftKeysTest, KeyExportedUnderKekImportsElsewhereOnlyWithItsCheckValue) {
    Import(operator_, "kek", Q_ALG_3DES_168, kKek, sizeof kKek);
    Import(other_, "kek", Q_ALG_3DES_168, kKek, sizeof kKek);
    Import(operator_, "zpk", Q_ALG_3DES_112, kCvk, sizeof kCvk, Q_KEY_EXPORTABLE);

    uint8_t wrapped[32] = {};
    uint32_t length = sizeof wrapped;
    ASSERT_EQ(QEFTExportZPK(operator_, "kek", "zpk", wrapped, &length, 0), Q_OK);
    ASSERT_EQ(length, 19u);
    EXPECT_NE(std::memcmp(wrapped, kCvk, sizeof kCvk), 0);
    EXPECT_EQ(Hex(wrapped + 16, 3), Kcv(operator_, "zpk"));

    uint8_t tampered[19];
    std::memcpy(tampered, wrapped, sizeof tampered);
    tampered[18] ^= 1;
    EXPECT_EQ(QEFTKeKImport(other_, "kek", "zpk", Q_ALG_3DES_112, tampered, 19, 0),
              Q_ERR_KCV_MISMATCH);
    EXPECT_EQ(Kcv(other_, "zpk"), Error(Q_ERR_NOT_FOUND));
    ASSERT_EQ(QEFTKeKImport(other_, "kek", "zpk", Q_ALG_3DES_112, wrapped, 19, 0), Q_OK);
    EXPECT_EQ(Kcv(other_, "zpk"), Kcv(operator_, "zpk"));

    // Imported keys stay in; a single DES KEK protects no double-length key.
    length = sizeof wrapped;
    EXPECT_EQ(QEFTExportZPK(other_, "kek", "zpk", wrapped, &length, 0), Q_ERR_NOT_EXPORTABLE);
    ImportDes("kek1");
    length = sizeof wrapped;
    EXPECT_EQ(QEFTExportZPK(operator_, "kek1", "zpk", wrapped, &length, 0), Q_ERR_KEK_TOO_WEAK);
    EXPECT_EQ(QEFTKeKImport(operator_, "kek1", "zpk2", Q_ALG_3DES_112, tampered, 19, 0),
              Q_ERR_KEK_TOO_WEAK);
    length = 8;
    EXPECT_EQ(QEFTExportZPK(operator_, "kek", "zpk", wrapped, &length, 0), Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 19u);
}

TEST_F(EftKeysTest, ExportedComponentsImportBackIntoAnotherPartitionWithTheSameCheckValue) {
    Import(operator_, "tdes", Q_ALG_3DES_168, kKek, sizeof kKek, Q_KEY_EXPORTABLE);
    QEftComponentRecord three{};
    uint32_t length = sizeof three;
    ASSERT_EQ(QEFTExportKey(operator_, "tdes", 3, &three, &length, 0), Q_OK);
    ASSERT_EQ(QEFTImportKey(other_, "tdes", Q_ALG_3DES_168, &three, 0), Q_OK);
    EXPECT_EQ(Kcv(other_, "tdes"), Kcv(operator_, "tdes"));
    EXPECT_EQ(Hex(three.keyKcv, 3), Kcv(operator_, "tdes"));

    ImportDes("des", Q_KEY_EXPORTABLE);
    QEftComponentRecord two{};
    length = sizeof two;
    ASSERT_EQ(QEFTExportKey(operator_, "des", 2, &two, &length, 0), Q_OK);
    EXPECT_EQ(Hex(two.component3, 8) + Hex(two.kcv3, 3),
              "0000000000000000"
              "8CA64D");
    uint8_t joined[8];
    for (size_t i = 0; i < sizeof joined; ++i)
        joined[i] = two.component1[i] ^ two.component2[i];
    EXPECT_EQ(Hex(joined, 8), Hex(kDesKey, 8));
    ASSERT_EQ(QEFTImportKey(other_, "des", Q_ALG_DES, &two, 0), Q_OK);
    EXPECT_EQ(Kcv(other_, "des"), "D5D44F");

    Generate(operator_, "aes", Q_ALG_AES_256, Q_KEY_EXPORTABLE);
    QEftAesComponentRecord aes{};
    ASSERT_EQ(QEFTExportAESKeyParts(operator_, "aes", 2, Q_KCV_FORMAT_CMAC, &aes, 0), Q_OK);
    EXPECT_EQ(aes.attributes & Q_KEY_EXPORTABLE, Q_KEY_EXPORTABLE);
    ASSERT_EQ(QEFTImportKey(other_, "aes", Q_ALG_AES_256, &aes, Q_KCV_FORMAT_CMAC), Q_OK);
    EXPECT_EQ(Kcv(other_, "aes", Q_KCV_FORMAT_CMAC), Kcv(operator_, "aes", Q_KCV_FORMAT_CMAC));

    length = sizeof two;
    EXPECT_EQ(QEFTExportKey(other_, "des", 2, &two, &length, 0), Q_ERR_NOT_EXPORTABLE);
    EXPECT_EQ(QEFTExportKey(operator_, "aes", 2, &two, &length, 0), Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QEFTExportAESKeyParts(operator_, "des", 2, Q_KCV_FORMAT_KCV, &aes, 0),
              Q_ERR_BAD_ALGORITHM);
    EXPECT_EQ(QEFTExportKey(operator_, "des", 4, &two, &length, 0), Q_ERR_INVALID_PARAMETER);
    const std::string log = ExportedLog(sim_.dataDir());
    EXPECT_NE(log.find("Key exported as 3 components: tdes"), std::string::npos);
    EXPECT_EQ(log.find(Hex(kKek, 8)), std::string::npos);
}

}  // namespace
