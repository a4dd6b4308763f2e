// The IP filter as other client hosts meet it: each test client binds its own loopback
// address, so the simulator sees 127.0.0.1, .2 and .3 as three hosts.

#include "shell.h"
#include "sim_process.h"
#include "sim_raw_client.h"

namespace {

constexpr const char *kAlicePassword = "Alice#12345";

wire::pb::Request AddEntry(const std::string &host, const std::string &user = "") {
    wire::pb::Request request;
    request.mutable_add_ip_filter_entry()->mutable_entry()->set_host(host);
    request.mutable_add_ip_filter_entry()->mutable_entry()->set_user(user);
    return request;
}

wire::pb::Request RemoveEntry(const std::string &host, const std::string &user = "") {
    wire::pb::Request request;
    request.mutable_remove_ip_filter_entry()->mutable_entry()->set_host(host);
    request.mutable_remove_ip_filter_entry()->mutable_entry()->set_user(user);
    return request;
}

wire::pb::Request Enable(bool enabled) {
    wire::pb::Request request;
    request.mutable_set_ip_filter_enabled()->set_enabled(enabled);
    return request;
}

// The status of a password login of `user` from `host`; -1 when the connection was closed.
int64_t LoginFrom(const SimProcess &sim, const char *host, const std::string &user,
                  const std::string &password) {
    RawClient client(sim.port(), false, {}, host);
    EXPECT_TRUE(client.connected()) << host;
    return client.Status(PasswordLogin(user, password));
}

// A logged-in operator on 127.0.0.1.
class Operator {
  public:
    explicit Operator(const SimProcess &sim) : client_(sim.port(), true, {}, "127.0.0.1") {
        EXPECT_EQ(client_.Status(PasswordLogin("master", sim.initPassword())), wire::OK);
    }
    int64_t Status(const wire::pb::Request &request) { return client_.Status(request); }

  private:
    RawClient client_;
};

TEST(SimIpFilter, ListedHostsAndUsersOnlyAndTheOperatorNeverLocksItselfOut) {
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-user", "alice", kAlicePassword}), 0);
    {
        Operator master(sim);
        // Its own host tied to another user does not admit the operator.
        EXPECT_EQ(master.Status(Enable(true)), wire::ERR_IPF_LOCKOUT);
        ASSERT_EQ(master.Status(AddEntry("127.0.0.1", "alice")), wire::OK);
        EXPECT_EQ(master.Status(Enable(true)), wire::ERR_IPF_LOCKOUT);
        ASSERT_EQ(master.Status(AddEntry("127.0.0.1")), wire::OK);
        ASSERT_EQ(master.Status(AddEntry("127.0.0.2", "alice")), wire::OK);
        EXPECT_EQ(master.Status(AddEntry("127.0.0.2", "alice")), wire::ERR_ALREADY_EXISTS);
        EXPECT_EQ(master.Status(AddEntry("127.0.0.300")), wire::ERR_INVALID_PARAMETER);
        ASSERT_EQ(master.Status(Enable(true)), wire::OK);
        EXPECT_EQ(master.Status(RemoveEntry("127.0.0.1")), wire::ERR_IPF_LOCKOUT);
        EXPECT_EQ(master.Status(RemoveEntry("127.0.0.9")), wire::ERR_NOT_FOUND);
    }

    for (int run = 0; run < 2; ++run) {  // the same before and after a restart
        EXPECT_EQ(LoginFrom(sim, "127.0.0.3", "alice", kAlicePassword), -1) << run;
        EXPECT_EQ(LoginFrom(sim, "127.0.0.2", "master", sim.initPassword()), wire::ERR_IPF_REFUSED)
            << run;
        EXPECT_EQ(LoginFrom(sim, "127.0.0.2", "alice", kAlicePassword), wire::OK) << run;
        EXPECT_EQ(LoginFrom(sim, "127.0.0.1", "alice", kAlicePassword), wire::OK) << run;
        if (run == 0) sim.Restart();
    }

    std::string log;
    ASSERT_EQ(Shell(std::string(ORVENA_SIMCTL_PATH) + " export-log --data " + sim.dataDir(), &log),
              0);
    EXPECT_NE(log.find("Connection from 127.0.0.3"), std::string::npos);
    EXPECT_NE(log.find("Login from 127.0.0.2"), std::string::npos);
    EXPECT_NE(log.find("refused by the IP filter"), std::string::npos);

    EXPECT_EQ(Operator(sim).Status(Enable(false)), wire::OK);
    EXPECT_EQ(LoginFrom(sim, "127.0.0.3", "alice", kAlicePassword), wire::OK);
}

}  // namespace
