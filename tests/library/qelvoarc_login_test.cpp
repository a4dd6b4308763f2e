// Every login method of QOpenSession against a live simulator.

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "qelvoarc_fixture.h"

namespace {

// RFC 4226 test seed ("12345678901234567890") and its first HOTP values.
constexpr const char *kRfc4226Seed = "3132333435363738393031323334353637383930";

std::string ReadFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// A client identity made for the test: an EC key (PEM, encrypted) and a self-signed
// certificate (PEM and DER).
struct ClientIdentity {
    std::string keyPem, certPem, certDer;
};

ClientIdentity MakeIdentity(const char *keyPassword, const char *commonName) {
    EVP_PKEY *key = EVP_EC_gen("P-256");
    X509 *cert = X509_new();
    ASN1_INTEGER_set(X509_get_serialNumber(cert), 1);
    X509_gmtime_adj(X509_getm_notBefore(cert), 0);
    X509_gmtime_adj(X509_getm_notAfter(cert), 3600);
    X509_set_pubkey(cert, key);
    X509_NAME *name = X509_get_subject_name(cert);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char *>(commonName), -1, -1, 0);
    X509_set_issuer_name(cert, name);
    X509_sign(cert, key, EVP_sha256());

    ClientIdentity identity;
    BIO *bio = BIO_new(BIO_s_mem());
    PEM_write_bio_PrivateKey(bio, key, EVP_aes_256_cbc(), nullptr, 0, nullptr,
                             const_cast<char *>(keyPassword));
    char *data = nullptr;
    identity.keyPem.assign(data, static_cast<size_t>(BIO_get_mem_data(bio, &data)));
    BIO_free(bio);
    bio = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(bio, cert);
    identity.certPem.assign(data, static_cast<size_t>(BIO_get_mem_data(bio, &data)));
    BIO_free(bio);
    unsigned char *der = nullptr;
    int length = i2d_X509(cert, &der);
    identity.certDer.assign(reinterpret_cast<char *>(der), static_cast<size_t>(length));
    OPENSSL_free(der);
    X509_free(cert);
    EVP_PKEY_free(key);
    return identity;
}

class LoginTest : public LibraryTest {
  protected:
    uint32_t OpenWithOtp(const std::string &user, const std::string &password,
                         const std::string &otp, QSessionHandle *session) {
        QPasswordLoginRecord record = PasswordRecord(sim_.port(), user, password);
        record.authMode = Q_AUTH_OTP;
        record.otp = otp.c_str();
        record.otpLength = static_cast<uint32_t>(otp.size());
        return Open(record, session);
    }

    uint32_t OpenWithCertificate(const std::string &user, const ClientIdentity &identity,
                                 const std::string &clientCert, const char *keyPassword,
                                 const std::string &hsmCert, QSessionHandle *session,
                                 uint32_t flags = Q_SESSION_TLS) {
        QMutualTlsRecord tls{};
        tls.privateKey = reinterpret_cast<const uint8_t *>(identity.keyPem.data());
        tls.privateKeyLength = identity.keyPem.size();
        tls.keyPassword = keyPassword;
        tls.clientCert = reinterpret_cast<const uint8_t *>(clientCert.data());
        tls.clientCertLength = clientCert.size();
        tls.hsmCert = reinterpret_cast<const uint8_t *>(hsmCert.data());
        tls.hsmCertLength = hsmCert.size();
        QPasswordLoginRecord record = PasswordRecord(sim_.port(), user, "Passw0rd!x");
        record.authMode = Q_AUTH_MUTUAL_TLS;
        record.otp = &tls;
        record.otpLength = sizeof tls;
        return Open(record, session, flags);
    }

    uint32_t OpenWithToken(const std::string &base64, QSessionHandle *session) {
        QAccessTokenLoginRecord record{};
        std::strncpy(record.address, "127.0.0.1", sizeof record.address);
        record.port = sim_.port();
        uint32_t length = sizeof record.token;
        uint32_t status = QBase642ByteArray(base64.c_str(), static_cast<uint32_t>(base64.size()),
                                            record.token, &length);
        if (status != Q_OK) return status;
        return QOpenSession(session, Q_LOGIN_ACCESS_TOKEN, &record, sizeof record,
                            Q_SESSION_TLS | 0x28);
    }

    std::string AddToken(const std::string &user, const std::string &expires = "") {
        std::vector<std::string> args = {"add-token", user};
        if (!expires.empty()) args.insert(args.end(), {"--expires", expires});
        std::string out;
        EXPECT_EQ(sim_.Simctl(args, &out), 0);
        while (!out.empty() && (out.back() == '\n' || out.back() == '\r'))
            out.pop_back();
        return out;
    }
};

TEST_F(LoginTest, PasswordLoginAcceptsOnlyTheRightPassword) {
    AddUser("alice", "Passw0rd!x");
    AddUser("sixteencharsuser", "Sixteen#Chars_16");  // both fields full, no terminator
    QSessionHandle session = 0;
    EXPECT_EQ(Open(PasswordRecord(sim_.port(), "alice", "Passw0rd!y"), &session),
              Q_ERR_AUTH_FAILED);
    EXPECT_EQ(Open(PasswordRecord(sim_.port(), "mallory", "Passw0rd!x"), &session),
              Q_ERR_AUTH_FAILED);
    EXPECT_EQ(session, 0u);
    ASSERT_EQ(Open(PasswordRecord(sim_.port(), "alice", "Passw0rd!x"), &session), Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
    ASSERT_EQ(Open(PasswordRecord(sim_.port(), "sixteencharsuser", "Sixteen#Chars_16"), &session,
                   Q_SESSION_CLEAR),
              Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
}

TEST_F(LoginTest, MalformedRecordsAreRefusedBeforeConnecting) {
    QSessionHandle session = 0;
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
}

TEST_F(LoginTest, OtpLoginFollowsTheHotpSequence) {
    AddUser("alice", "Passw0rd!x", "0x20000000");
    ASSERT_EQ(sim_.Simctl({"set-otp", "alice", "hotp", kRfc4226Seed}), 0);
    QSessionHandle session = 0;
    EXPECT_EQ(Open(PasswordRecord(sim_.port(), "alice", "Passw0rd!x"), &session),
              Q_ERR_OTP_REQUIRED);
    EXPECT_EQ(OpenWithOtp("alice", "Passw0rd!x", "000000", &session), Q_ERR_OTP_INVALID);
    ASSERT_EQ(OpenWithOtp("alice", "Passw0rd!x", "755224", &session), Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
    // A used value is not accepted twice; the next one is.
    EXPECT_EQ(OpenWithOtp("alice", "Passw0rd!x", "755224", &session), Q_ERR_OTP_INVALID);
    ASSERT_EQ(OpenWithOtp("alice", "Passw0rd!x", "287082", &session), Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
    // The right OTP does not rescue a wrong password.
    EXPECT_EQ(OpenWithOtp("alice", "Passw0rd!y", "359152", &session), Q_ERR_AUTH_FAILED);
}

TEST_F(LoginTest, MutualTlsNeedsTheRegisteredCertificateAndThePinnedHsm) {
    AddUser("alice", "Passw0rd!x", "0x10000000");
    ClientIdentity alice = MakeIdentity("keypass", "alice");
    ClientIdentity stranger = MakeIdentity("keypass", "stranger");
    std::string certPath = sim_.dataDir() + "/alice-client.pem";
    std::ofstream(certPath) << alice.certPem;
    ASSERT_EQ(sim_.Simctl({"set-cert", "alice", certPath}), 0);
    ::unlink(certPath.c_str());
    std::string hsmCert = ReadFile(sim_.dataDir() + "/tls.crt");
    ASSERT_FALSE(hsmCert.empty());

    QSessionHandle session = 0;
    ASSERT_EQ(OpenWithCertificate("alice", alice, alice.certPem, "keypass", hsmCert, &session),
              Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
    ASSERT_EQ(OpenWithCertificate("alice", alice, alice.certDer, "keypass", hsmCert, &session),
              Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);

    EXPECT_EQ(Open(PasswordRecord(sim_.port(), "alice", "Passw0rd!x"), &session),
              Q_ERR_CERT_REQUIRED);
    EXPECT_EQ(
        OpenWithCertificate("alice", stranger, stranger.certPem, "keypass", hsmCert, &session),
        Q_ERR_CERT_MISMATCH);
    EXPECT_EQ(OpenWithCertificate("alice", alice, alice.certPem, "wrong", hsmCert, &session),
              Q_ERR_TLS);
    // An HSM presenting another certificate than the pinned one is not talked to.
    EXPECT_EQ(
        OpenWithCertificate("alice", alice, alice.certPem, "keypass", alice.certPem, &session),
        Q_ERR_TLS);
    EXPECT_EQ(OpenWithCertificate("alice", alice, alice.certPem, "keypass", hsmCert, &session,
                                  Q_SESSION_CLEAR),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(session, 0u);
}

TEST_F(LoginTest, AccessTokensOpenSessionsUntilRevokedOrExpired) {
    AddUser("alice", "Passw0rd!x");
    std::string token = AddToken("alice");
    QSessionHandle session = 0;
    ASSERT_EQ(OpenWithToken(token, &session), Q_OK);
    uint32_t acl = 0;
    EXPECT_EQ(QGetUserAcl(session, "alice", &acl), Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);

    ASSERT_EQ(sim_.Simctl({"revoke-token", token}), 0);
    EXPECT_EQ(OpenWithToken(token, &session), Q_ERR_TOKEN_INVALID);
    EXPECT_EQ(OpenWithToken(AddToken("alice", "1"), &session), Q_ERR_TOKEN_EXPIRED);
    EXPECT_EQ(session, 0u);
}

TEST_F(LoginTest, ExpiredPasswordAllowsOnlyThePasswordChange) {
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

    EXPECT_EQ(Open(PasswordRecord(sim_.port(), "alice", "Passw0rd!x"), &session),
              Q_ERR_AUTH_FAILED);
    ASSERT_EQ(Open(PasswordRecord(sim_.port(), "alice", newPassword), &session), Q_OK);
    EXPECT_EQ(QGetRandom(session, random, sizeof random), Q_OK);
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
}

TEST_F(LoginTest, AnonymousOpensAndCredentialManagerIsUnavailable) {
    QAnonymousLoginRecord anonymous{};
    std::strncpy(anonymous.address, "127.0.0.1", sizeof anonymous.address);
    anonymous.port = sim_.port();
    QSessionHandle session = 0;
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
