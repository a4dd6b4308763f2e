// Access tokens through QManageAToken and QManageATokenCache: issue, log in, revoke, expire,
// and who sees which tokens.

#include <chrono>
#include <ctime>
#include <thread>

#include "users_fixture.h"

namespace {

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
