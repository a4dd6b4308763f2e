// Kept secrets through the library: shares that bring a secret back and shares that do not,
// the authentication type checked at recovery, and what removal asks for.

#include <array>
#include <map>

#include "users_fixture.h"

namespace {

constexpr uint8_t kLevel160 = 5;

class SafeKeepingTest : public UsersTest {
  protected:
    static std::vector<QSKeepShare> Split(QSessionHandle session, const char *name, uint8_t level,
                                          uint16_t authType, uint8_t m, uint8_t n) {
        std::vector<QSKeepShare> shares(n);
        EXPECT_EQ(QSKeepSplitSecret(session, name, level, authType, m, n, shares.data(), 0), Q_OK);
        return shares;
    }

    static uint32_t Recover(QSessionHandle session, const char *name,
                            const std::vector<QSKeepShare> &shares, std::string *secret = nullptr) {
        uint8_t buffer[Q_SKEEP_SECRET_SIZE] = {};
        uint32_t status = QSKeepRecoverSecret(session, name, shares.data(),
                                              static_cast<uint32_t>(shares.size()), buffer, 0);
        if (secret != nullptr) *secret = reinterpret_cast<const char *>(buffer);
        return status;
    }

    static uint32_t Match(QSessionHandle session, const char *name,
                          const std::vector<QSKeepShare> &shares) {
        return QSKeepMatchSecret(session, name, shares.data(), static_cast<uint32_t>(shares.size()),
                                 0);
    }
};

TEST_F(SafeKeepingTest, AnyQuorumOfOneSplitBringsTheSecretBackAndNothingElseDoes) {
    ASSERT_EQ(QSKeepNewSecret(operator_, "vault", kLevel160, 0, 0), Q_OK);
    ASSERT_EQ(QSKeepNewSecret(operator_, "other", kLevel160, 0, 0), Q_OK);
    uint32_t info = 0;
    ASSERT_EQ(QSKeepProbeSecret(operator_, "vault", &info), Q_OK);
    EXPECT_EQ(info, uint32_t{kLevel160} << 16);

    std::vector<QSKeepShare> shares = Split(operator_, "vault", kLevel160, 0, 3, 5);
    for (const QSKeepShare &share : shares) {
        const std::string text = share.text;
        EXPECT_FALSE(text.empty());
        EXPECT_LE(text.size(), 64u);
        EXPECT_EQ(text.find_first_not_of(
                      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"),
                  std::string::npos);
    }
    std::string first;
    std::string second;
    ASSERT_EQ(Recover(operator_, "vault", {shares[0], shares[2], shares[4]}, &first), Q_OK);
    EXPECT_EQ(first.size(), 40u);  // 160 bits in hexadecimal
    ASSERT_EQ(Recover(operator_, "vault", {shares[3], shares[1], shares[4], shares[0]}, &second),
              Q_OK);
    EXPECT_EQ(first, second);
    EXPECT_EQ(Match(operator_, "vault", {shares[1], shares[2], shares[3]}), Q_OK);

    QSKeepShare altered = shares[1];
    char &last = altered.text[strlen(altered.text) - 1];
    last = last == '0' ? '1' : '0';
    QSKeepShare empty{};
    std::vector<QSKeepShare> again = Split(operator_, "vault", kLevel160, 0, 3, 5);
    std::vector<QSKeepShare> others = Split(operator_, "other", kLevel160, 0, 3, 5);
    EXPECT_EQ(Match(operator_, "vault", {}), Q_ERR_SKEEP_TOO_FEW_SHARES);
    EXPECT_EQ(Match(operator_, "vault", {shares[0], shares[1]}), Q_ERR_SKEEP_TOO_FEW_SHARES);
    EXPECT_EQ(Match(operator_, "vault", {shares[0], altered, shares[2]}),
              Q_ERR_SKEEP_SHARES_MISMATCH);
    EXPECT_EQ(Match(operator_, "vault", {shares[0], again[1], again[2]}),
              Q_ERR_SKEEP_SHARES_MISMATCH);
    EXPECT_EQ(Match(operator_, "vault", {others[0], others[1], others[2]}),
              Q_ERR_SKEEP_SHARES_MISMATCH);
    EXPECT_EQ(Recover(operator_, "vault", {shares[0], empty, shares[2]}), Q_ERR_SKEEP_BAD_SHARE);
    EXPECT_EQ(Recover(operator_, "vault", {shares[0], shares[0], shares[2]}),
              Q_ERR_SKEEP_BAD_SHARE);
    EXPECT_EQ(Match(operator_, "vault", {again[0], again[1], again[2]}), Q_OK);

    std::vector<QSKeepShare> slots(3);
    EXPECT_EQ(QSKeepSplitSecret(operator_, "vault", kLevel160, 0, 4, 3, slots.data(), 0),
              Q_ERR_SKEEP_BAD_COUNTS);
    EXPECT_EQ(QSKeepSplitSecret(operator_, "vault", 4, 0, 2, 3, slots.data(), 0),
              Q_ERR_SKEEP_ATTR_MISMATCH);
    EXPECT_EQ(QSKeepNewSecret(operator_, "bad", 6, 0, 0), Q_ERR_SKEEP_BAD_LEVEL);
    EXPECT_EQ(QSKeepNewSecret(operator_, "bad", 1, Q_SKEEP_AUTH_OATH | Q_SKEEP_AUTH_X509, 0),
              Q_ERR_SKEEP_BAD_AUTH_TYPE);

    // The custodians' checksum: four digits, the same for the same share, from text only.
    char checksum[Q_SKEEP_CKS_SIZE] = {};
    char repeated[Q_SKEEP_CKS_SIZE] = {};
    ASSERT_EQ(QSKeepCalcShareCks(Q_SKEEP_CKS_MODE_DIGITS, &shares[0], checksum), Q_OK);
    ASSERT_EQ(QSKeepCalcShareCks(Q_SKEEP_CKS_MODE_DIGITS, &shares[0], repeated), Q_OK);
    EXPECT_EQ(strlen(checksum), 4u);
    EXPECT_STREQ(checksum, repeated);
    QSKeepShare notBase62{};
    std::strcpy(notBase62.text, "abc-def");
    EXPECT_EQ(QSKeepCalcShareCks(Q_SKEEP_CKS_MODE_DIGITS, &notBase62, checksum),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QSKeepCalcShareCks(Q_SKEEP_CKS_MODE_DIGITS, &empty, checksum),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QSKeepCalcShareCks(2, &shares[0], checksum), Q_ERR_INVALID_PARAMETER);

    // Each step is logged; no share and no secret is.
    const std::string log = ExportedLog(sim_.dataDir());
    EXPECT_NE(log.find("Secret split into 5 shares, 3 to recover: vault"), std::string::npos);
    EXPECT_NE(log.find("Secret recovered from 3 shares: vault"), std::string::npos);
    EXPECT_NE(log.find("Secret matched against 2 shares: vault"), std::string::npos);
    EXPECT_EQ(log.find(first), std::string::npos);
    for (const QSKeepShare &share : shares)
        EXPECT_EQ(log.find(share.text), std::string::npos);
}

TEST_F(SafeKeepingTest, RecoveryAsksForTheAuthenticationTypeOfTheSecret) {
    ASSERT_EQ(Create(operator_, "alice", 0), Q_OK);
    QSessionHandle alice = Login("alice");
    struct Case {
        const char *name;
        uint16_t authType;
        uint32_t refusal;
    };
    const Case cases[] = {
        {"mofn", Q_SKEEP_AUTH_MOFN, Q_ERR_SKEEP_MOFN_REQUIRED},
        {"oath", Q_SKEEP_AUTH_OATH, Q_ERR_SKEEP_OATH_REQUIRED},
        {"x509", Q_SKEEP_AUTH_X509, Q_ERR_SKEEP_X509_REQUIRED},
        {"both", Q_SKEEP_AUTH_MOFN | Q_SKEEP_AUTH_X509, Q_ERR_SKEEP_MOFN_REQUIRED}};
    std::map<std::string, std::vector<QSKeepShare>> shares;
    for (const Case &c : cases) {
        ASSERT_EQ(QSKeepNewSecret(alice, c.name, 1, c.authType, 0), Q_OK) << c.name;
        shares[c.name] = Split(alice, c.name, 1, c.authType, 2, 2);
        EXPECT_EQ(Recover(alice, c.name, shares[c.name]), c.refusal) << c.name;
        // A match reveals nothing, so it asks for no factor.
        EXPECT_EQ(Match(alice, c.name, shares[c.name]), Q_OK) << c.name;
    }

    ASSERT_EQ(sim_.Simctl({"set-acl", "alice", "0x400"}), 0);
    EXPECT_EQ(Recover(alice, "mofn", shares["mofn"]), Q_OK);
    EXPECT_EQ(Recover(alice, "both", shares["both"]), Q_ERR_SKEEP_X509_REQUIRED);

    // The factor must be the one this session logged in with.
    QOathTokenRecord token = OathEventToken();
    ASSERT_EQ(QAssignToken(operator_, "alice", Q_TOKEN_OATH_EVENT, &token, Q_OATH_HOTP_RECORD_SIZE),
              Q_OK);
    EXPECT_EQ(Recover(alice, "oath", shares["oath"]), Q_ERR_SKEEP_OATH_REQUIRED);
    QSessionHandle aliceWithOtp = 0;
    ASSERT_EQ(LoginWithOtp("alice", Hotp(0), "Passw0rd!x", &aliceWithOtp), Q_OK);
    EXPECT_EQ(Recover(aliceWithOtp, "oath", shares["oath"]), Q_OK);
    EXPECT_EQ(Recover(aliceWithOtp, "x509", shares["x509"]), Q_ERR_SKEEP_X509_REQUIRED);
    QCloseSession(&aliceWithOtp, 0);
    QCloseSession(&alice, 0);

    ASSERT_EQ(Create(operator_, "dave", 0), Q_OK);
    TestCertificate dave = MakeTestCertificate("dave");
    SetCertificate("dave", dave);
    QSessionHandle davePassword = Login("dave");
    ASSERT_EQ(QSKeepNewSecret(davePassword, "x509", 2, Q_SKEEP_AUTH_X509, 0), Q_OK);
    std::vector<QSKeepShare> daveShares = Split(davePassword, "x509", 2, Q_SKEEP_AUTH_X509, 2, 3);
    EXPECT_EQ(Recover(davePassword, "x509", daveShares), Q_ERR_SKEEP_X509_REQUIRED);
    QSessionHandle daveTls = 0;
    ASSERT_EQ(OpenWithCertificate("dave", dave, dave.pem, "keypass", ServerCertificate(), &daveTls),
              Q_OK);
    std::string secret;
    EXPECT_EQ(Recover(daveTls, "x509", daveShares, &secret), Q_OK);
    EXPECT_EQ(secret.size(), 24u);  // 96 bits
    QCloseSession(&daveTls, 0);
    QCloseSession(&davePassword, 0);
}

TEST_F(SafeKeepingTest, OnlyItsOwnRemovalWithItsLevelAndTypeRemovesASecretAndBackupsKeepIt) {
    ASSERT_EQ(QSKeepNewSecret(operator_, "vault", 3, Q_SKEEP_AUTH_MOFN, 0), Q_OK);
    Generate(operator_, "aes");
    uint32_t info = 0;
    EXPECT_EQ(QSKeepProbeSecret(operator_, "aes", &info), Q_ERR_WRONG_OBJECT_TYPE);
    EXPECT_EQ(QSKeepRemoveSecret(operator_, "aes", 3, Q_SKEEP_AUTH_MOFN, 0),
              Q_ERR_WRONG_OBJECT_TYPE);
    EXPECT_EQ(QRemoveObj(operator_, "vault"), Q_ERR_WRONG_OBJECT_TYPE);
    EXPECT_EQ(QSKeepRemoveSecret(operator_, "vault", 4, Q_SKEEP_AUTH_MOFN, 0),
              Q_ERR_SKEEP_ATTR_MISMATCH);
    EXPECT_EQ(QSKeepRemoveSecret(operator_, "vault", 3, 0, 0), Q_ERR_SKEEP_ATTR_MISMATCH);

    // A backed-up secret comes back whole: the shares of the original bring the copy back.
    std::vector<QSKeepShare> shares = Split(operator_, "vault", 3, Q_SKEEP_AUTH_MOFN, 2, 2);
    uint8_t *blob = nullptr;
    uint32_t blobLength = 0;
    ASSERT_EQ(QBackupObject(operator_, "vault", Q_BACKUP_OBJECT_EXPORT, &blob, &blobLength, 0),
              Q_OK);
    EXPECT_EQ(QBackupObject(operator_, "copy", Q_BACKUP_OBJECT_IMPORT, &blob, &blobLength, 0),
              Q_OK);
    QFree(blob);
    EXPECT_EQ(Match(operator_, "copy", shares), Q_OK);

    EXPECT_EQ(QSKeepRemoveSecret(operator_, "vault", 3, Q_SKEEP_AUTH_MOFN, 0), Q_OK);
    EXPECT_EQ(QSKeepProbeSecret(operator_, "vault", &info), Q_ERR_NOT_FOUND);
    const std::string log = ExportedLog(sim_.dataDir());
    EXPECT_NE(log.find("Secret removal: vault"), std::string::npos);  // the refusals
    EXPECT_NE(log.find("Object removed: vault"), std::string::npos);
}

}  // namespace
