// Login and session rules that depend on time, driven through the dispatcher with a clock
// the test moves, and the removal of a user whose session is still open.

#include "service/access_token.h"
#include "sim_hsm_fixture.h"

namespace {

constexpr int64_t kDay = 86400;

class SimLoginService : public SimHsm {
  protected:
    SimLoginService() {
        AddUser("op", "Operator#1", 0x80);
        AddUser("dave", "Dave#12345", 0x10);
    }

    static wire::pb::Request ExpireAfter(uint32_t days) {
        wire::pb::Request request;
        wire::pb::PasswordPolicy *policy = request.mutable_set_password_policy()->mutable_policy();
        policy->set_expiry_days(days);
        policy->set_min_length(8);
        return request;
    }

    static wire::pb::Request ReadOwnAcl() {
        wire::pb::Request request;
        request.mutable_get_user_acl()->set_user("dave");
        return request;
    }
};

TEST_F(SimLoginService, PasswordExpiresWithAgeAndAChangeRestoresTheSession) {
    sim::ConnectionState op, dave;
    ASSERT_EQ(Send(dave, Login("dave", "Dave#12345")).status(), wire::OK);
    EXPECT_EQ(Send(dave, ExpireAfter(30)).status(), wire::ERR_ACCESS_DENIED);
    ASSERT_EQ(Send(op, Login("op", "Operator#1")).status(), wire::OK);
    ASSERT_EQ(Send(op, ExpireAfter(30)).status(), wire::OK);

    clock_.Advance(30 * kDay);
    sim::ConnectionState fresh;
    EXPECT_EQ(Send(fresh, Login("dave", "Dave#12345")).status(), wire::OK);

    clock_.Advance(1);
    sim::ConnectionState old;
    wire::pb::Response login = Send(old, Login("dave", "Dave#12345"));
    EXPECT_EQ(login.status(), wire::ERR_PASSWORD_EXPIRED);
    ASSERT_TRUE(old.session);
    EXPECT_EQ(Send(old, ReadOwnAcl()).status(), wire::ERR_PASSWORD_CHANGE_ONLY);

    wire::pb::Request change;
    change.mutable_set_own_password()->set_password("Dave#67890");
    EXPECT_EQ(Send(old, change).status(), wire::OK);
    EXPECT_EQ(Send(old, ReadOwnAcl()).status(), wire::OK);
    EXPECT_EQ(Send(op, ExpireAfter(256)).status(), wire::ERR_INVALID_PARAMETER);

    clock_.Advance(29 * kDay);
    sim::ConnectionState later;
    EXPECT_EQ(Send(later, Login("dave", "Dave#67890")).status(), wire::OK);
}

TEST_F(SimLoginService, AccessTokenExpiresAtItsTime) {
    std::string hash;
    std::string token = sim::NewAccessToken("dave", &hash);
    ASSERT_EQ(data_.tokens().Add(sim::Actor::Daemon(), hash, "dave", clock_.Now() + 60),
              sim::Result::kOk);
    wire::pb::Request login;
    login.mutable_login()->set_method(wire::pb::LOGIN_ACCESS_TOKEN);
    login.mutable_login()->set_access_token(token);

    sim::ConnectionState first;
    EXPECT_EQ(Send(first, login).status(), wire::OK);
    EXPECT_TRUE(first.session->byAccessToken);
    clock_.Advance(60);
    sim::ConnectionState second;
    EXPECT_EQ(Send(second, login).status(), wire::ERR_TOKEN_EXPIRED);
    EXPECT_FALSE(second.session);
}

// A second login on a session is the dispatcher test's.
TEST_F(SimLoginService, LogoutEndsTheSession) {
    sim::ConnectionState conn;
    ASSERT_EQ(Send(conn, Login("dave", "Dave#12345")).status(), wire::OK);
    EXPECT_EQ(sessions_.size(), 1u);
    wire::pb::Request logout;
    logout.mutable_logout();
    EXPECT_EQ(Send(conn, logout).status(), wire::OK);
    EXPECT_EQ(sessions_.size(), 0u);
    EXPECT_EQ(Send(conn, ReadOwnAcl()).status(), wire::ERR_NOT_AUTHENTICATED);
}

TEST_F(SimLoginService, RemovedUsersSessionEndsAtItsNextRequest) {
    sim::ConnectionState dave, op;
    ASSERT_EQ(Send(dave, Login("dave", "Dave#12345")).status(), wire::OK);
    ASSERT_EQ(Send(op, Login("op", "Operator#1")).status(), wire::OK);
    wire::pb::Request remove;
    remove.mutable_remove_user()->set_user("dave");
    ASSERT_EQ(Send(op, remove).status(), wire::OK);

    wire::pb::Request random;
    random.mutable_get_random()->set_length(4);
    EXPECT_EQ(Send(dave, random).status(), wire::ERR_SESSION_EXPIRED);
    EXPECT_TRUE(dave.closeAfterReply);
    EXPECT_FALSE(dave.session);
    EXPECT_EQ(sessions_.size(), 1u);
}

TEST(SimMasterKey, SealedDataOpensOnlyUnchangedAndUnderTheSameKey) {
    TempDir temp;
    const std::string &dir = temp.path();
    sim::MasterKey key = sim::MasterKey::LoadOrCreate(dir + "/master.key");
    sim::MasterKey again = sim::MasterKey::LoadOrCreate(dir + "/master.key");
    sim::MasterKey other = sim::MasterKey::LoadOrCreate(dir + "/other.key");
    EXPECT_EQ(std::filesystem::status(dir + "/master.key").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);

    std::string sealed = key.Seal("seed bytes");
    EXPECT_EQ(sealed.find("seed bytes"), std::string::npos);
    ASSERT_TRUE(again.Open(sealed));
    EXPECT_EQ(again.Open(sealed)->view(), "seed bytes");
    EXPECT_FALSE(other.Open(sealed));
    sealed[sealed.size() / 2] ^= 1;
    EXPECT_FALSE(key.Open(sealed));
}

}  // namespace
