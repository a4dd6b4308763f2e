// Every login method of QOpenSession against a live simulator.

#include "qelvoarc_fixture.h"

namespace {

using LoginTest = LibraryTest;

TEST_F(LoginTest, PasswordLoginNeedsTheRightPasswordAWellFormedRecordAndTheUsersFactor) {
    AddUser("alice", "Passw0rd!x");
    AddUser("sixteencharsuser", "Sixteen#Chars_16");  // both fields full, no terminator
    EXPECT_EQ(TryLogin("alice", "Passw0rd!y"), Q_ERR_AUTH_FAILED);
    EXPECT_EQ(TryLogin("mallory"), Q_ERR_AUTH_FAILED);
    EXPECT_EQ(TryLogin("alice"), Q_OK);
    QSessionHandle session = 0;
    ASSERT_EQ(Open(PasswordRecord(sim_.port(), "sixteencharsuser", "Sixteen#Chars_16"), &session,
                   Q_SESSION_CLEAR),
              Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);

    QPasswordLoginRecord record = PasswordRecord(sim_.port(), "master", sim_.initPassword());
    EXPECT_EQ(QOpenSession(&session, Q_LOGIN_PASSWORD, &record, sizeof record - 1, Q_SESSION_TLS),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QOpenSession(&session, Q_LOGIN_PASSWORD, nullptr, sizeof record, Q_SESSION_TLS),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QOpenSession(&session, 64, &record, sizeof record, Q_SESSION_TLS),
              Q_ERR_NOT_SUPPORTED);
    record.authMode = 7;
    EXPECT_EQ(Open(record, &session), Q_ERR_INVALID_PARAMETER);
    record.authMode = Q_AUTH_OTP;  // an OTP mode without the OTP
    EXPECT_EQ(Open(record, &session), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(session, 0u);

    // Mutual TLS needs the registered certificate and the pinned HSM.
    AddUser("dave", "Passw0rd!x", "0x10000000");
    TestCertificate dave = MakeTestCertificate("dave");
    TestCertificate stranger = MakeTestCertificate("stranger");
    SetCertificate("dave", dave);
    std::string hsmCert = ServerCertificate();
    ASSERT_FALSE(hsmCert.empty());

    ASSERT_EQ(OpenWithCertificate("dave", dave, dave.pem, "keypass", hsmCert, &session), Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
    ASSERT_EQ(OpenWithCertificate("dave", dave, dave.DerText(), "keypass", hsmCert, &session),
              Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);

    EXPECT_EQ(TryLogin("dave"), Q_ERR_CERT_REQUIRED);
    EXPECT_EQ(OpenWithCertificate("dave", stranger, stranger.pem, "keypass", hsmCert, &session),
              Q_ERR_CERT_MISMATCH);
    EXPECT_EQ(OpenWithCertificate("dave", dave, dave.pem, "wrong", hsmCert, &session), Q_ERR_TLS);
    // An HSM presenting another certificate than the pinned one is not talked to.
    EXPECT_EQ(OpenWithCertificate("dave", dave, dave.pem, "keypass", dave.pem, &session),
              Q_ERR_TLS);
    EXPECT_EQ(
        OpenWithCertificate("dave", dave, dave.pem, "keypass", hsmCert, &session, Q_SESSION_CLEAR),
        Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(session, 0u);
}

TEST_F(LoginTest, ExpiredPasswordAllowsOnlyTheChangeAnonymousOpensCredentialManagerDoesNot) {
    AddUser("alice", "Passw0rd!x");
    ASSERT_EQ(sim_.Simctl({"expire-password", "alice"}), 0);
    QSessionHandle session = 0;
    ASSERT_EQ(Open(PasswordRecord(sim_.port(), "alice", "Passw0rd!x"), &session),
              Q_ERR_PASSWORD_EXPIRED);
    ASSERT_NE(session, 0u);
    uint8_t random[8];
    EXPECT_NE(QGetRandom(session, random, sizeof random), Q_OK);
    const char newPassword[] = "N3w-Passw0rd!";
    ASSERT_EQ(
        QSetUserParam(session, Q_USER_PARAM_OWN_PASSWORD, newPassword, sizeof newPassword - 1, 0),
        Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);

    EXPECT_EQ(TryLogin("alice"), Q_ERR_AUTH_FAILED);
    ASSERT_EQ(Open(PasswordRecord(sim_.port(), "alice", newPassword), &session), Q_OK);
    EXPECT_EQ(QGetRandom(session, random, sizeof random), Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);

    QAnonymousLoginRecord anonymous{};
    std::strncpy(anonymous.address, "127.0.0.1", sizeof anonymous.address);
    anonymous.port = sim_.port();
    ASSERT_EQ(QOpenSession(&session, Q_LOGIN_ANONYMOUS, &anonymous, sizeof anonymous,
                           Q_SESSION_CLEAR | 0x18),
              Q_OK);
    EXPECT_EQ(QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS), Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);

    QCredentialManagerLoginRecord manager{};
    std::strncpy(manager.target, "127.0.0.1", sizeof manager.target);
    manager.port = sim_.port();
    EXPECT_EQ(
        QOpenSession(&session, Q_LOGIN_CREDENTIAL_MANAGER, &manager, sizeof manager, Q_SESSION_TLS),
        Q_ERR_PLATFORM);
    EXPECT_EQ(session, 0u);
}

}  // namespace
