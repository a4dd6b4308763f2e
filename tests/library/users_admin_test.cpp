// Creating, listing, changing and removing accounts, and the rights the HSM enforces.

#include "users_fixture.h"

namespace {

TEST_F(UsersTest, CreatedUsersAreListedInOrderAndLogInUnlessBlocked) {
    ASSERT_EQ(Create(operator_, "alice", Q_ACL_LIST_USERS), Q_OK);
    ASSERT_EQ(Create(operator_, "bob", Q_ACL_OPERATOR), Q_OK);
    EXPECT_EQ(Create(operator_, "alice", 0), Q_ERR_ALREADY_EXISTS);
    EXPECT_EQ(Create(operator_, "", 0), Q_ERR_INVALID_PARAMETER);

    std::vector<uint32_t> acls;
    WalkOnFinal walk{[&](const std::string &user) {
                         uint32_t acl = 0, status = QGetUserAcl(operator_, user.c_str(), &acl);
                         acls.push_back(acl);
                         return status;
                     },
                     {}};
    ASSERT_EQ(QListUsers(operator_, WalkOnFinal::Callback, &walk), Q_OK);
    EXPECT_EQ(walk.names, (std::vector<std::string>{"master", "alice", "bob"}));
    EXPECT_EQ(acls, (std::vector<uint32_t>{Q_ACL_OPERATOR, Q_ACL_LIST_USERS, Q_ACL_OPERATOR}));

    // A user id of 16 characters fills the record's field; the library bounds it.
    ASSERT_EQ(Create(operator_, "sixteen-chars-id", 0), Q_OK);
    QSessionHandle alice = Login("alice");
    uint32_t status = 0;
    EXPECT_EQ(ListUsers(alice, &status).size(), 4u);
    EXPECT_EQ(status, Q_OK);
    EXPECT_EQ(QCloseSession(&alice, 0), Q_OK);
    EXPECT_EQ(TryLogin("sixteen-chars-id"), Q_OK);

    // Without 0x40 nothing is listed, and a callback's refusal ends the listing.
    QSessionHandle plain = Login("sixteen-chars-id");
    ListUsers(plain, &status);
    EXPECT_EQ(status, Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QCloseSession(&plain, 0), Q_OK);
    EXPECT_EQ(QListUsers(
                  operator_, [](const char *, void *, int) -> uint32_t { return 77; }, nullptr),
              77u);

    QUserStatusRecord record{};
    std::strcpy(record.userId, "alice");
    uint32_t length = sizeof record;
    ASSERT_EQ(QGetUserParam(operator_, Q_USER_PARAM_BLOCK, &record, &length, 0), Q_OK);
    EXPECT_EQ(uint32_t{record.blocked}, 0u);  // a copy: the record is packed
    ASSERT_EQ(QSetUserParam(operator_, Q_USER_PARAM_BLOCK, "alice", 5, 0), Q_OK);
    ASSERT_EQ(QGetUserParam(operator_, Q_USER_PARAM_BLOCK, &record, &length, 0), Q_OK);
    EXPECT_NE(uint32_t{record.blocked}, 0u);
    EXPECT_EQ(TryLogin("alice"), Q_ERR_USER_BLOCKED);
    ASSERT_EQ(QSetUserParam(operator_, Q_USER_PARAM_UNBLOCK, "alice", 5, 0), Q_OK);
    EXPECT_EQ(TryLogin("alice"), Q_OK);
    length = 3;
    EXPECT_EQ(QGetUserParam(operator_, Q_USER_PARAM_BLOCK, &record, &length, 0),
              Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, sizeof record);
}

TEST_F(UsersTest, OnlyOperatorsAndCreatorsManageAccounts) {
    ASSERT_EQ(Create(operator_, "lister", Q_ACL_LIST_USERS), Q_OK);
    ASSERT_EQ(Create(operator_, "creator", Q_ACL_CREATE_USERS | Q_ACL_LIST_USERS), Q_OK);
    ASSERT_EQ(Create(operator_, "victim", 0), Q_OK);

    QSessionHandle lister = Login("lister");
    EXPECT_EQ(Create(lister, "newbie", 0), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QRemoveUser(lister, "victim"), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QSetUserParam(lister, Q_USER_PARAM_BLOCK, "victim", 6, 0), Q_ERR_ACCESS_DENIED);
    uint32_t acl = 0;  // reading another's rights is listing, not managing
    EXPECT_EQ(QGetUserAcl(lister, "master", &acl), Q_OK);
    EXPECT_EQ(acl, Q_ACL_OPERATOR);
    EXPECT_EQ(QGetUserAcl(lister, "ghost", &acl), Q_ERR_NOT_FOUND);
    EXPECT_EQ(QCloseSession(&lister, 0), Q_OK);

    QSessionHandle creator = Login("creator");
    // What it holds it may hand on; nothing else, and never the operator type.
    EXPECT_EQ(Create(creator, "helper", Q_ACL_CREATE_USERS | Q_ACL_LIST_USERS), Q_OK);
    EXPECT_EQ(Create(creator, "backup", Q_ACL_BACKUP), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(Create(creator, "boss", Q_ACL_OPERATOR), Q_ERR_ACCESS_DENIED);
    QUserRecord raise = Record("victim", "", Q_ACL_FIRMWARE);
    EXPECT_EQ(QSetUserParam(creator, Q_USER_PARAM_ACL, &raise, sizeof raise, 0),
              Q_ERR_ACCESS_DENIED);
    QUserRecord promote = Record("victim", "", Q_ACL_OPERATOR);
    EXPECT_EQ(QSetUserParam(creator, Q_USER_PARAM_ACL, &promote, sizeof promote, 0),
              Q_ERR_ACCESS_DENIED);
    QUserRecord allowed = Record("victim", "", Q_ACL_LIST_USERS);
    EXPECT_EQ(QSetUserParam(creator, Q_USER_PARAM_ACL, &allowed, sizeof allowed, 0), Q_OK);
    // An operator's account is out of its reach.
    EXPECT_EQ(QRemoveUser(creator, "master"), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QSetUserParam(creator, Q_USER_PARAM_BLOCK, "master", 6, 0), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QRemoveUser(creator, "helper"), Q_OK);
    EXPECT_EQ(QRemoveUser(creator, "creator"), Q_ERR_BAD_STATE);
    EXPECT_EQ(QCloseSession(&creator, 0), Q_OK);
    EXPECT_EQ(Acl("victim"), Q_ACL_LIST_USERS);

    // Operators make operators and change types both ways.
    EXPECT_EQ(Create(operator_, "boss", Q_ACL_OPERATOR), Q_OK);
    EXPECT_EQ(QSetUserParam(operator_, Q_USER_PARAM_ACL, &promote, sizeof promote, 0), Q_OK);
    EXPECT_EQ(Acl("victim"), Q_ACL_OPERATOR);
    QUserRecord demote = Record("boss", "", Q_ACL_BACKUP);
    EXPECT_EQ(QSetUserParam(operator_, Q_USER_PARAM_ACL, &demote, sizeof demote, 0), Q_OK);
    EXPECT_EQ(Acl("boss"), Q_ACL_BACKUP);
}

TEST_F(UsersTest, RecordsAreReadPerUserAndRemovalLeavesNothingOfTheUser) {
    ASSERT_EQ(Create(operator_, "alice", 0), Q_OK);
    ASSERT_EQ(Create(operator_, "bob", 0), Q_OK);
    QSessionHandle alice = Login("alice");
    Generate(alice, "k1", Q_ALG_AES_256);
    Generate(alice, "k2", Q_ALG_AES_256);
    QObjectCountQuery query{};
    std::strcpy(query.userId, "alice");
    uint32_t length = sizeof query;
    ASSERT_EQ(QGetUserParam(alice, Q_USER_PARAM_OBJECT_COUNT, &query, &length, 0), Q_OK);
    uint64_t total = 0;
    for (uint64_t i = 0; i < query.entryCount; ++i)
        total += query.entries[i].count;
    EXPECT_EQ(total, 2u);
    QFree(query.entries);

    // Another user's records need the right to look at accounts.
    QUserAuthRecord auth{};
    std::strcpy(auth.userId, "bob");
    length = sizeof auth;
    EXPECT_EQ(QGetUserParam(alice, Q_USER_PARAM_AUTH, &auth, &length, 0), Q_ERR_ACCESS_DENIED);
    EXPECT_EQ(QGetUserParam(operator_, Q_USER_PARAM_AUTH, &auth, &length, 0), Q_OK);
    uint32_t acl = 0;
    EXPECT_EQ(QGetUserAcl(alice, "bob", &acl), Q_ERR_ACCESS_DENIED);

    int finals = 0;
    auto countFinals = [](const char *, void *context, int isFinal) -> uint32_t {
        if (isFinal) ++*static_cast<int *>(context);
        return 0;
    };
    EXPECT_EQ(QListUserTrusts(operator_, "alice", 1, countFinals, &finals, 0), Q_OK);
    EXPECT_EQ(QListUserTrusts(operator_, "alice", 2, countFinals, &finals, 0), Q_OK);
    EXPECT_EQ(finals, 2);
    EXPECT_EQ(QListUserTrusts(operator_, "nobody", 1, countFinals, &finals, 0), Q_ERR_NOT_FOUND);
    EXPECT_EQ(QListUserTrusts(operator_, "alice", 3, countFinals, &finals, 0),
              Q_ERR_INVALID_PARAMETER);

    // Removal: the open session ends, the token opens nothing, and a new account of the same
    // name starts with an empty partition.
    QAccessTokenRecord token = Issue(alice);
    ASSERT_EQ(QRemoveUser(operator_, "alice"), Q_OK);
    EXPECT_EQ(QRemoveUser(operator_, "alice"), Q_ERR_NOT_FOUND);
    uint8_t random[4];
    EXPECT_EQ(QGetRandom(alice, random, sizeof random), Q_ERR_SESSION_EXPIRED);
    QCloseSession(&alice, 0);
    EXPECT_EQ(TryTokenLogin(token.token), Q_ERR_TOKEN_INVALID);
    uint32_t count = 1;
    ASSERT_EQ(QManageATokenCache(operator_, Q_ATOKEN_CACHE_COUNT, &count, 0), Q_OK);
    EXPECT_EQ(count, 0u);
    ASSERT_EQ(Create(operator_, "alice", 0), Q_OK);
    length = sizeof query;
    ASSERT_EQ(QGetUserParam(operator_, Q_USER_PARAM_OBJECT_COUNT, &query, &length, 0), Q_OK);
    EXPECT_EQ(query.entryCount, 0u);
    QFree(query.entries);
}

}  // namespace
