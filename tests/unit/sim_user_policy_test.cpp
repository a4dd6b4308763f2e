// The password policy's expiry, defined through the administrative operation and driven by a
// clock the test moves, and the removal of a user whose session is still open.

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>

#include "crypto/password_hash.h"
#include "daemon/data_directory.h"
#include "server/dispatcher.h"

namespace {

constexpr int64_t kDay = 86400;

class MovableClock final : public sim::Clock {
  public:
    int64_t Now() const override { return now_; }
    void Advance(int64_t seconds) { now_ += seconds; }

  private:
    std::atomic<int64_t> now_{1'700'000'000};
};

class SimUserPolicy : public ::testing::Test {
  protected:
    SimUserPolicy()
        : dir_(MakeTempDir()), data_(dir_, clock_), hsm_{data_.users(), data_.masterKey(),
                                                         sessions_,     clock_,
                                                         identity_,     data_.keys()} {
        EXPECT_EQ(data_.users().AddUser("op", sim::HashPassword("Operator#1"), 0x80),
                  sim::Result::kOk);
        EXPECT_EQ(data_.users().AddUser("dave", sim::HashPassword("Dave#12345"), 0x10),
                  sim::Result::kOk);
    }
    ~SimUserPolicy() override { std::filesystem::remove_all(dir_); }

    static std::string MakeTempDir() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "sim-policy-XXXXXX").string();
        return ::mkdtemp(pattern.data());
    }

    uint32_t Send(sim::ConnectionState &conn, wire::pb::Request request) {
        return sim::Dispatch(hsm_, conn, request).status();
    }

    static wire::pb::Request Login(const std::string &user, const std::string &password) {
        wire::pb::Request request;
        request.mutable_login()->set_method(16);
        request.mutable_login()->set_user(user);
        request.mutable_login()->set_password(password);
        return request;
    }

    static wire::pb::Request ExpireAfter(uint8_t days) {
        const char policy[7] = {0, static_cast<char>(days), 0, 8, 0, 0, 0};
        wire::pb::Request request;
        request.mutable_adm_operation()->set_operation(25);
        request.mutable_adm_operation()->set_data(policy, sizeof policy);
        return request;
    }

    MovableClock clock_;
    std::string dir_;
    sim::DataDirectory data_;
    sim::SessionTable sessions_{16};
    sim::DeviceIdentity identity_;
    sim::HsmContext hsm_;
};

TEST_F(SimUserPolicy, ExpiryDaysDefinedByAnOperatorExpireTheNextLogin) {
    sim::ConnectionState dave;
    ASSERT_EQ(Send(dave, Login("dave", "Dave#12345")), wire::OK);
    EXPECT_EQ(Send(dave, ExpireAfter(10)), wire::ERR_ACCESS_DENIED);
    sim::ConnectionState op;
    ASSERT_EQ(Send(op, Login("op", "Operator#1")), wire::OK);
    ASSERT_EQ(Send(op, ExpireAfter(10)), wire::OK);

    clock_.Advance(10 * kDay);
    sim::ConnectionState inTime;
    EXPECT_EQ(Send(inTime, Login("dave", "Dave#12345")), wire::OK);
    clock_.Advance(1);
    sim::ConnectionState late;
    EXPECT_EQ(Send(late, Login("dave", "Dave#12345")), wire::ERR_PASSWORD_EXPIRED);
}

TEST_F(SimUserPolicy, RemovedUsersSessionEndsAtItsNextRequest) {
    sim::ConnectionState dave;
    ASSERT_EQ(Send(dave, Login("dave", "Dave#12345")), wire::OK);
    sim::ConnectionState op;
    ASSERT_EQ(Send(op, Login("op", "Operator#1")), wire::OK);
    wire::pb::Request remove;
    remove.mutable_remove_user()->set_user("dave");
    ASSERT_EQ(Send(op, remove), wire::OK);

    wire::pb::Request random;
    random.mutable_get_random()->set_length(4);
    EXPECT_EQ(Send(dave, random), wire::ERR_SESSION_EXPIRED);
    EXPECT_TRUE(dave.closeAfterReply);
    EXPECT_FALSE(dave.session);
    EXPECT_EQ(sessions_.size(), 1u);
}

}  // namespace
