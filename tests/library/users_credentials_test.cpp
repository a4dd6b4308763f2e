// Credentials through the library: OATH event and time tokens with resynchronisation and OTP
// checks, the X.509 factor, the password policy and every way a password is set, and access
// tokens (handed out, logged in with, revoked, expired, and who sees which).

#include <chrono>
#include <ctime>
#include <thread>

#include "users_fixture.h"

namespace {

class OathTest : public UsersTest {
  protected:
    uint32_t LoginWithOtp(const std::string &otp, const std::string &password = "Passw0rd!x") {
        return UsersTest::LoginWithOtp("alice", otp, password);
    }
};

TEST_F(OathTest, EventAndTimeTokensGuardTheLoginAndOnlyAnAdministratorTouchesThem) {
    ASSERT_EQ(Create(operator_, "alice", 0), Q_OK);
    ASSERT_EQ(Create(operator_, "mallory", Q_ACL_LIST_USERS), Q_OK);
    QOathTokenRecord record = OathEventToken();
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
    record = OathEventToken();
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

QPasswordPolicy Policy(uint8_t minLength, uint8_t special, uint8_t upper, uint8_t lower,
                       uint8_t invalidLogins = 0, uint8_t expiryDays = 0) {
    return QPasswordPolicy{invalidLogins, expiryDays, 0, minLength, special, upper, lower};
}

class PasswordTest : public UsersTest {
  protected:
    uint32_t Define(QSessionHandle session, QPasswordPolicy policy) {
        return QAdmOperation(session, Q_ADM_SET_PASSWORD_POLICY, &policy, sizeof policy, 0);
    }
};

// A certificate assignment turns the X.509 factor on and its reset off.
TEST_F(PasswordTest, CertificateAssignmentAndThePolicyReadByAllAndDefinedByOperators) {
    ASSERT_EQ(Create(operator_, "carol", Q_ACL_LIST_USERS), Q_OK);
    std::string pem = ServerCertificate();
    ASSERT_FALSE(pem.empty());

    QUserCertRecord record{};
    std::strcpy(record.userId, "carol");
    record.operation = Q_CERT_OP_ASSIGN;
    const std::string garbage = "not a certificate";
    record.certificate = reinterpret_cast<const uint8_t *>(garbage.data());
    record.certificateLength = static_cast<uint32_t>(garbage.size());
    EXPECT_EQ(QSetUserParam(operator_, Q_USER_PARAM_CERT, &record, sizeof record, 0),
              Q_ERR_INVALID_PARAMETER);
    record.certificate = reinterpret_cast<const uint8_t *>(pem.data());
    record.certificateLength = static_cast<uint32_t>(pem.size());
    record.operation = 3;  // neither assign nor reset
    EXPECT_EQ(QSetUserParam(operator_, Q_USER_PARAM_CERT, &record, sizeof record, 0),
              Q_ERR_INVALID_PARAMETER);
    record.operation = Q_CERT_OP_ASSIGN;
    ASSERT_EQ(QSetUserParam(operator_, Q_USER_PARAM_CERT, &record, sizeof record, 0), Q_OK);
    EXPECT_EQ(Acl("carol"), Q_ACL_LIST_USERS | Q_ACL_X509_2FA);
    EXPECT_EQ(TryLogin("carol"), Q_ERR_CERT_REQUIRED);

    // The bit cannot be raised without a certificate, only dropped.
    QUserRecord acl = Record("carol", "", Q_ACL_LIST_USERS);
    ASSERT_EQ(QSetUserParam(operator_, Q_USER_PARAM_ACL, &acl, sizeof acl, 0), Q_OK);
    EXPECT_EQ(TryLogin("carol"), Q_OK);
    record.operation = Q_CERT_OP_RESET;
    record.certificate = nullptr;
    record.certificateLength = 0;
    ASSERT_EQ(QSetUserParam(operator_, Q_USER_PARAM_CERT, &record, sizeof record, 0), Q_OK);
    acl.acl = Q_ACL_LIST_USERS | Q_ACL_X509_2FA;
    ASSERT_EQ(QSetUserParam(operator_, Q_USER_PARAM_ACL, &acl, sizeof acl, 0), Q_OK);
    EXPECT_EQ(Acl("carol"), Q_ACL_LIST_USERS);
    EXPECT_EQ(TryLogin("carol"), Q_OK);

    // The policy is read by all, and defined by operators within its ranges.
    ASSERT_EQ(Define(operator_, Policy(12, 1, 2, 3, 5, 90)), Q_OK);
    ASSERT_EQ(Create(operator_, "alice", Q_ACL_CREATE_USERS, "ABcdefgh#ijk"), Q_OK);
    QSessionHandle alice = Login("alice", "ABcdefgh#ijk");
    QPasswordPolicy read{};
    ASSERT_EQ(QAdmOperation(alice, Q_ADM_GET_PASSWORD_POLICY, &read, sizeof read, 0), Q_OK);
    const QPasswordPolicy expected = Policy(12, 1, 2, 3, 5, 90);
    EXPECT_EQ(std::memcmp(&read, &expected, sizeof read), 0);
    EXPECT_EQ(Define(alice, Policy(8, 0, 0, 0)), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QCloseSession(&alice, 0), Q_OK);

    for (QPasswordPolicy bad : {Policy(7, 0, 0, 0), Policy(17, 0, 0, 0), Policy(8, 17, 0, 0),
                                Policy(8, 0, 17, 0), Policy(8, 0, 0, 17)})
        EXPECT_EQ(Define(operator_, bad), Q_ERR_INVALID_PARAMETER);
    uint8_t small[3];
    EXPECT_EQ(QAdmOperation(operator_, Q_ADM_GET_PASSWORD_POLICY, small, sizeof small, 0),
              Q_ERR_BUFFER_TOO_SMALL);
    // Only one whole record is a policy; operations not served are refused as such.
    QPasswordPolicy policy = Policy(8, 0, 0, 0);
    EXPECT_EQ(QAdmOperation(operator_, Q_ADM_SET_PASSWORD_POLICY, &policy, sizeof policy - 1, 0),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QAdmOperation(operator_, Q_ADM_SET_PASSWORD_POLICY, nullptr, 0, 0),
              Q_ERR_INVALID_PARAMETER);
    constexpr uint32_t kUnknownOperation = 45;
    EXPECT_EQ(QAdmOperation(operator_, kUnknownOperation, &policy, sizeof policy, 0),
              Q_ERR_NOT_SUPPORTED);
    ASSERT_EQ(QAdmOperation(operator_, Q_ADM_GET_PASSWORD_POLICY, &policy, sizeof policy, 0), Q_OK);
    EXPECT_EQ(std::memcmp(&policy, &expected, sizeof policy), 0);
}

TEST_F(PasswordTest, EveryPasswordSetMeetsThePolicyAndWrongOnesBlockAtItsCount) {
    ASSERT_EQ(Define(operator_, Policy(10, 1, 2, 1, 3)), Q_OK);
    // Too short, too few specials, too few uppercase, no lowercase.
    for (const char *weak : {"Ab#defgh", "ABcdefghijk", "Abcdefgh#jk", "ABCDEFGH#J"})
        EXPECT_EQ(Create(operator_, "alice", 0, weak), Q_ERR_PASSWORD_POLICY) << weak;
    ASSERT_EQ(Create(operator_, "alice", 0, "ABcdefgh#j"), Q_OK);
    ASSERT_EQ(Create(operator_, "bob", 0, "ABcdefgh#j"), Q_OK);

    QSessionHandle alice = Login("alice", "ABcdefgh#j");
    const char weak[] = "abcdefghij";
    EXPECT_EQ(QSetUserParam(alice, Q_USER_PARAM_OWN_PASSWORD, weak, sizeof weak - 1, 0),
              Q_ERR_PASSWORD_POLICY);
    const char strong[] = "XYzzzzzz!!";
    EXPECT_EQ(QSetUserParam(alice, Q_USER_PARAM_OWN_PASSWORD, strong, sizeof strong - 1, 0), Q_OK);
    EXPECT_EQ(QCloseSession(&alice, 0), Q_OK);
    EXPECT_EQ(TryLogin("alice", strong), Q_OK);

    QUserRecord other = Record("bob", weak, 0);
    EXPECT_EQ(QSetUserParam(operator_, Q_USER_PARAM_PASSWORD, &other, sizeof other, 0),
              Q_ERR_PASSWORD_POLICY);
    other = Record("bob", "QRst-uvwxyz", 0);
    EXPECT_EQ(QSetUserParam(operator_, Q_USER_PARAM_PASSWORD, &other, sizeof other, 0), Q_OK);
    EXPECT_EQ(TryLogin("bob", "ABcdefgh#j"), Q_ERR_AUTH_FAILED);
    EXPECT_EQ(TryLogin("bob", "QRst-uvwxyz"), Q_OK);  // a success starts the count again
    EXPECT_EQ(TryLogin("bob", "wrong-one"), Q_ERR_AUTH_FAILED);
    EXPECT_EQ(TryLogin("bob", "wrong-two"), Q_ERR_AUTH_FAILED);
    EXPECT_EQ(TryLogin("bob", "QRst-uvwxyz"), Q_OK);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(TryLogin("bob", "wrong"), Q_ERR_AUTH_FAILED);
    EXPECT_EQ(TryLogin("bob", "QRst-uvwxyz"), Q_ERR_USER_BLOCKED);
}

class TokensTest : public UsersTest {
  protected:
    static std::vector<QAccessTokenInfo> Enumerate(QSessionHandle session, uint32_t *status) {
        std::vector<QAccessTokenInfo> tokens;
        *status = QManageAToken(
            session, Q_ATOKEN_ENUMERATE, nullptr,
            [](const QAccessTokenInfo *info, void *context, int isFinal) -> uint32_t {
                if (!isFinal)
                    static_cast<std::vector<QAccessTokenInfo> *>(context)->push_back(*info);
                return 0;
            },
            &tokens, 0);
        return tokens;
    }

    // The record naming a listed token: its owner and key.
    static QAccessTokenRecord Named(const QAccessTokenInfo &info) {
        QAccessTokenRecord record{};
        std::memcpy(record.token, info.owner, sizeof info.owner);
        std::memcpy(record.token + 16, info.key, sizeof info.key);
        return record;
    }

    uint32_t Count() {
        uint32_t count = 0;
        EXPECT_EQ(QManageATokenCache(operator_, Q_ATOKEN_CACHE_COUNT, &count, 0), Q_OK);
        return count;
    }
};

TEST_F(TokensTest, IssuedTokensLogInUntilRevokedChangeNoPasswordAndAreSeenByTheirOwners) {
    ASSERT_EQ(Create(operator_, "alice", 0), Q_OK);
    QSessionHandle alice = Login("alice");
    QAccessTokenRecord token = Issue(alice);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(token.token)), "alice");
    QSessionHandle byToken = 0;
    ASSERT_EQ(TryTokenLogin(token.token, &byToken), Q_OK);
    // A session opened by a token cannot change the password it did not need.
    const char password[] = "Another#1x";
    EXPECT_EQ(QSetUserParam(byToken, Q_USER_PARAM_OWN_PASSWORD, password, sizeof password - 1, 0),
              Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QCloseSession(&byToken, 0), Q_OK);

    uint32_t status = 0;
    std::vector<QAccessTokenInfo> listed = Enumerate(alice, &status);
    ASSERT_EQ(status, Q_OK);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].expiration, Q_ATOKEN_NO_EXPIRATION);
    EXPECT_STREQ(listed[0].owner, "alice");
    // The listing names the token without giving away its secret.
    QAccessTokenRecord named = Named(listed[0]);
    EXPECT_NE(std::memcmp(named.token, token.token, sizeof token.token), 0);
    EXPECT_EQ(TryTokenLogin(named.token), Q_ERR_TOKEN_INVALID);
    int found = 0;
    auto countFound = [](const QAccessTokenInfo *info, void *context, int) -> uint32_t {
        if (info != nullptr) ++*static_cast<int *>(context);
        return 0;
    };
    EXPECT_EQ(QManageAToken(alice, Q_ATOKEN_LOOKUP, &token, countFound, &found, 0), Q_OK);
    EXPECT_EQ(QManageAToken(alice, Q_ATOKEN_LOOKUP, &named, countFound, &found, 0), Q_OK);
    EXPECT_EQ(found, 2);

    ASSERT_EQ(QManageAToken(alice, Q_ATOKEN_REVOKE, &token, nullptr, nullptr, 0), Q_OK);
    EXPECT_EQ(TryTokenLogin(token.token), Q_ERR_TOKEN_INVALID);
    EXPECT_EQ(QManageAToken(alice, Q_ATOKEN_REVOKE, &token, nullptr, nullptr, 0), Q_ERR_NOT_FOUND);
    EXPECT_EQ(QManageAToken(alice, Q_ATOKEN_LOOKUP, &token, countFound, &found, 0),
              Q_ERR_NOT_FOUND);
    EXPECT_TRUE(Enumerate(alice, &status).empty());

    // Users see only their own tokens; Remote Info sees every token and may revoke any of
    // them by its listed name.
    ASSERT_EQ(Create(operator_, "bob", Q_ACL_LIST_USERS | Q_ACL_CREATE_USERS), Q_OK);
    ASSERT_EQ(Create(operator_, "auditor", Q_ACL_REMOTE_INFO), Q_OK);
    QAccessTokenRecord aliceToken = Issue(alice);
    EXPECT_EQ(QCloseSession(&alice, 0), Q_OK);
    QSessionHandle bob = Login("bob");
    Issue(bob);
    std::vector<QAccessTokenInfo> seen = Enumerate(bob, &status);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_STREQ(seen[0].owner, "bob");
    EXPECT_EQ(QManageAToken(bob, Q_ATOKEN_REVOKE, &aliceToken, nullptr, nullptr, 0),
              Q_ERR_NOT_FOUND);
    uint32_t count = 0;
    EXPECT_EQ(QManageATokenCache(bob, Q_ATOKEN_CACHE_COUNT, &count, 0), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QCloseSession(&bob, 0), Q_OK);
    EXPECT_EQ(TryTokenLogin(aliceToken.token), Q_OK);

    QSessionHandle auditor = Login("auditor");
    seen = Enumerate(auditor, &status);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_STREQ(seen[0].owner, "alice");
    named = Named(seen[0]);
    EXPECT_EQ(QManageAToken(auditor, Q_ATOKEN_REVOKE, &named, nullptr, nullptr, 0), Q_OK);
    EXPECT_EQ(QManageATokenCache(auditor, Q_ATOKEN_CACHE_COUNT, &count, 0), Q_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(TryTokenLogin(aliceToken.token), Q_ERR_TOKEN_INVALID);
}

TEST_F(TokensTest, ExpiredTokensCannotLogInAndAreCollected) {
    ASSERT_EQ(Create(operator_, "alice", 0), Q_OK);
    QSessionHandle alice = Login("alice");
    const auto now = static_cast<uint64_t>(std::time(nullptr));
    QAccessTokenRecord past{};
    past.expiration = now - 1;
    EXPECT_EQ(QManageAToken(alice, Q_ATOKEN_ISSUE, &past, nullptr, nullptr, 0),
              Q_ERR_INVALID_PARAMETER);
    QAccessTokenRecord keeper = Issue(alice);
    QAccessTokenRecord shortLived = Issue(alice, now + 2);
    EXPECT_EQ(QCloseSession(&alice, 0), Q_OK);
    EXPECT_EQ(Count(), 2u);

    uint32_t status = Q_OK;
    for (int i = 0; i < 100 && (status = TryTokenLogin(shortLived.token)) == Q_OK; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(status, Q_ERR_TOKEN_EXPIRED);

    uint32_t collected = 0;
    ASSERT_EQ(QManageATokenCache(operator_, Q_ATOKEN_CACHE_GC, &collected, 0), Q_OK);
    EXPECT_EQ(collected, 1u);
    EXPECT_EQ(Count(), 1u);
    EXPECT_EQ(QManageATokenCache(operator_, Q_ATOKEN_CACHE_GC + 1, &collected, 0),
              Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(TryTokenLogin(keeper.token), Q_OK);
}

}  // namespace
