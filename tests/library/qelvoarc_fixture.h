#pragma once
// Shared set-up of the device library tests: a simulator per test, an initialised library,
// and builders for the login records.

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "qelvoarc.h"
#include "shell.h"
#include "sim_process.h"
#include "temp_dir.h"
#include "test_crypto.h"

inline QPasswordLoginRecord PasswordRecord(uint16_t port, const std::string &user,
                                           const std::string &password) {
    QPasswordLoginRecord record{};
    std::strncpy(record.address, "127.0.0.1", sizeof record.address);
    record.port = port;
    std::memcpy(record.userId, user.data(), std::min(user.size(), sizeof record.userId));
    std::memcpy(record.password, password.data(),
                std::min(password.size(), sizeof record.password));
    record.authMode = Q_AUTH_PASSWORD;
    return record;
}

// The event log of a data directory as orvena-simctl exports it.
inline std::string ExportedLog(const std::string &dataDir) {
    std::string text;
    Shell(std::string(ORVENA_SIMCTL_PATH) + " export-log --data " + dataDir, &text);
    return text;
}

// A listing callback that appends each delivered name to the std::vector<std::string> at
// `context`.
inline uint32_t CollectNames(const char *name, void *context, int isFinal) {
    if (!isFinal) static_cast<std::vector<std::string> *>(context)->push_back(name);
    return 0;
}

// What the console's lists do: collect the names, then work on each from the final call, on
// the same session. The first status `each` refuses with ends the walk and the listing.
struct WalkOnFinal {
    std::function<uint32_t(const std::string &)> each;
    std::vector<std::string> names = {};

    static uint32_t Callback(const char *name, void *context, int isFinal) {
        auto *walk = static_cast<WalkOnFinal *>(context);
        if (!isFinal) walk->names.push_back(name);
        for (size_t i = 0; isFinal && i < walk->names.size(); ++i)
            if (uint32_t status = walk->each(walk->names[i]); status != 0) return status;
        return 0;
    }
};

// An OATH event token of kOathSeed as an administrator types it: the seed in hexadecimal.
inline QOathTokenRecord OathEventToken() {
    QOathTokenRecord record{};
    record.one = 1;
    record.seedLength = 2 * (sizeof kOathSeed - 1);
    std::memcpy(record.seed, kOathSeed, sizeof kOathSeed - 1);
    record.digits = 16;
    return record;
}

// Each test gets its own simulator and an initialised library with a session of the
// operator, finalised afterwards.
class LibraryTest : public ::testing::Test {
  protected:
    LibraryTest() = default;
    explicit LibraryTest(SimProcess::Options options) : sim_(std::move(options)) {}

    void SetUp() override {
        ASSERT_NE(sim_.port(), 0);
        ASSERT_EQ(QInitialize(0), Q_OK);
        operator_ = OpenOperator();
        ASSERT_NE(operator_, 0u);
    }
    void TearDown() override {
        if (operator_ != 0) QCloseSession(&operator_, 0);
        EXPECT_EQ(QFinalize(), Q_OK);
    }

    uint32_t Open(const QPasswordLoginRecord &record, QSessionHandle *session,
                  uint32_t flags = Q_SESSION_TLS) {
        return QOpenSession(session, Q_LOGIN_PASSWORD, &record, sizeof record, flags);
    }

    // A session of the operator; fails the test when it cannot be opened.
    QSessionHandle OpenOperator(uint32_t flags = Q_SESSION_TLS) {
        QSessionHandle session = 0;
        EXPECT_EQ(Open(PasswordRecord(sim_.port(), "master", sim_.initPassword()), &session, flags),
                  Q_OK);
        return session;
    }

    // A session of `user`, or 0 with the failure recorded.
    QSessionHandle Login(const std::string &user, const std::string &password = "Passw0rd!x") {
        QSessionHandle session = 0;
        EXPECT_EQ(Open(PasswordRecord(sim_.port(), user, password), &session), Q_OK) << user;
        return session;
    }

    // The status of a password login; a session it opens is closed again. Of the refusals
    // only an expired password leaves a session, for the change.
    uint32_t TryLogin(const std::string &user, const std::string &password = "Passw0rd!x") {
        QSessionHandle session = 0;
        uint32_t status = Open(PasswordRecord(sim_.port(), user, password), &session);
        EXPECT_TRUE(session == 0 || status == Q_OK || status == Q_ERR_PASSWORD_EXPIRED) << status;
        if (session != 0) QCloseSession(&session, 0);
        return status;
    }

    // The status of a login of `user` with a password and `otp`; the session goes to *kept
    // when given, and is closed otherwise.
    uint32_t LoginWithOtp(const std::string &user, const std::string &otp,
                          const std::string &password = "Passw0rd!x",
                          QSessionHandle *kept = nullptr) {
        QPasswordLoginRecord record = PasswordRecord(sim_.port(), user, password);
        record.authMode = Q_AUTH_OTP;
        record.otp = otp.c_str();
        record.otpLength = static_cast<uint32_t>(otp.size());
        QSessionHandle session = 0;
        const uint32_t status = Open(record, &session);
        if (kept != nullptr)
            *kept = session;
        else if (session != 0)
            QCloseSession(&session, 0);
        return status;
    }

    void AddUser(const std::string &user, const std::string &password,
                 const std::string &acl = "0") {
        ASSERT_EQ(sim_.Simctl({"add-user", user, password, "--acl", acl}), 0);
    }

    // Registers `certificate` as the X.509 factor of `user`, the file left nowhere after.
    void SetCertificate(const std::string &user, const TestCertificate &certificate) {
        const std::string path = sim_.dataDir() + "/" + user + "-client.pem";
        WriteFileBytes(path, certificate.pem);
        ASSERT_EQ(sim_.Simctl({"set-cert", user, path}), 0);
        std::filesystem::remove(path);
    }

    // A key `name` generated in the partition of `session`.
    static void Generate(QSessionHandle session, const std::string &name,
                         uint32_t algorithm = Q_ALG_AES_128, uint32_t flags = 0) {
        QKeyHandle key = 0;
        ASSERT_EQ(QGenerateKey(session, name.c_str(), algorithm, flags, &key), Q_OK) << name;
        EXPECT_EQ(QDestroyKey(key, 0), Q_OK);
    }

    // A mutual-TLS login of `user` as `identity`, presenting `clientCert` and pinning `hsmCert`.
    uint32_t OpenWithCertificate(const std::string &user, const TestCertificate &identity,
                                 const std::string &clientCert, const char *keyPassword,
                                 const std::string &hsmCert, QSessionHandle *session,
                                 uint32_t flags = Q_SESSION_TLS) {
        const std::string keyPem = identity.KeyPem("keypass");
        QMutualTlsRecord tls{};
        tls.privateKey = reinterpret_cast<const uint8_t *>(keyPem.data());
        tls.privateKeyLength = keyPem.size();
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

    // The PEM certificate the simulator presents on TLS connections.
    std::string ServerCertificate() const { return ReadFileBytes(sim_.dataDir() + "/tls.crt"); }

    SimProcess sim_;
    QSessionHandle operator_ = 0;
};
