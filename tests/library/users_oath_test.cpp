// OATH second factors assigned through the library: event and time tokens, resynchronisation,
// OTP checks and removal.

#include <ctime>

#include "users_fixture.h"

namespace {

QOathTokenRecord TokenRecord() {
    QOathTokenRecord record{};
    record.one = 1;
    record.seedLength = 2 * (sizeof kOathSeed - 1);  // hexadecimal characters as typed
    std::memcpy(record.seed, kOathSeed, sizeof kOathSeed - 1);
    record.digits = 16;
    return record;
}

class OathTest : public UsersTest {
  protected:
    uint32_t LoginWithOtp(const std::string &otp, const std::string &password = "Passw0rd!x") {
        QPasswordLoginRecord record = PasswordRecord(sim_.port(), "alice", password);
        record.authMode = Q_AUTH_OTP;
        record.otp = otp.c_str();
        record.otpLength = static_cast<uint32_t>(otp.size());
        QSessionHandle session = 0;
        uint32_t status = Open(record, &session);
        if (session != 0) QCloseSession(&session, 0);
        return status;
    }
};

TEST_F(OathTest, EventAndTimeTokensGuardTheLoginAndOnlyAnAdministratorTouchesThem) {
    ASSERT_EQ(Create(operator_, "alice", 0), Q_OK);
    ASSERT_EQ(Create(operator_, "mallory", Q_ACL_LIST_USERS), Q_OK);
    QOathTokenRecord record = TokenRecord();
    EXPECT_EQ(QAssignToken(operator_, "alice", 7, &record, Q_OATH_HOTP_RECORD_SIZE),
              Q_ERR_INVALID_PARAMETER);
    ASSERT_EQ(
        QAssignToken(operator_, "alice", Q_TOKEN_OATH_EVENT, &record, Q_OATH_HOTP_RECORD_SIZE),
        Q_OK);
    QSessionHandle mallory = Login("mallory");
    EXPECT_EQ(QAssignToken(mallory, "alice", Q_TOKEN_OATH_EVENT, &record, Q_OATH_HOTP_RECORD_SIZE),
              Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QUnassignToken(mallory, Q_TOKEN_OATH_EVENT, "alice"), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QOATHCheckHOTP(mallory, "alice", Hotp(0).c_str(), 0), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(Acl("alice"), Q_ACL_OATH_2FA);

    EXPECT_EQ(TryLogin("alice"), Q_ERR_OTP_REQUIRED);
    EXPECT_EQ(LoginWithOtp("000000"), Q_ERR_OTP_INVALID);
    EXPECT_EQ(LoginWithOtp(Hotp(0)), Q_OK);
    EXPECT_EQ(LoginWithOtp(Hotp(0)), Q_ERR_OTP_INVALID);  // used once only
    EXPECT_EQ(QOATHCheckHOTP(operator_, "alice", Hotp(1).c_str(), 0), Q_OK);
    EXPECT_EQ(QOATHCheckHOTP(operator_, "alice", Hotp(1).c_str(), 0), Q_ERR_OTP_INVALID);

    // A token pressed far ahead is out of the login's reach until resynchronised, and a pair
    // that does not follow each other is refused.
    EXPECT_EQ(LoginWithOtp(Hotp(200)), Q_ERR_OTP_INVALID);
    EXPECT_EQ(QOATHResync(operator_, "alice", Hotp(300).c_str(), Hotp(302).c_str(), 0),
              Q_ERR_OTP_INVALID);
    ASSERT_EQ(QOATHResync(operator_, "alice", Hotp(300).c_str(), Hotp(301).c_str(), 0), Q_OK);
    EXPECT_EQ(LoginWithOtp(Hotp(301)), Q_ERR_OTP_INVALID);
    EXPECT_EQ(LoginWithOtp(Hotp(302)), Q_OK);
    EXPECT_EQ(LoginWithOtp(Hotp(303), "Passw0rd!y"), Q_ERR_AUTH_FAILED) << "OTP cannot rescue";

    ASSERT_EQ(QUnassignToken(operator_, Q_TOKEN_OATH_EVENT, "alice"), Q_OK);
    EXPECT_EQ(Acl("alice"), 0u);
    EXPECT_EQ(TryLogin("alice"), Q_OK);

    // A time token accepts the current step.
    record = TokenRecord();
    record.timeStep = 0;
    EXPECT_EQ(QAssignToken(operator_, "alice", Q_TOKEN_OATH_TIME, &record, Q_OATH_TOTP_RECORD_SIZE),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QAssignToken(operator_, "alice", Q_TOKEN_OATH_TIME, &record, Q_OATH_HOTP_RECORD_SIZE),
              Q_ERR_INVALID_PARAMETER);
    record.timeStep = 30;
    ASSERT_EQ(QAssignToken(operator_, "alice", Q_TOKEN_OATH_TIME, &record, Q_OATH_TOTP_RECORD_SIZE),
              Q_OK);
    EXPECT_EQ(LoginWithOtp(Hotp(static_cast<uint64_t>(std::time(nullptr)) / 30)), Q_OK);
}

}  // namespace
