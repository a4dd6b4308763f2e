// A commit the disk refuses (full, or failing its sync) leaves nothing of the request
// behind, neither the change nor its log line, and answers an internal error; once the
// disk works again, so does the store.

#include <gtest/gtest.h>

#include "crypto/password_hash.h"
#include "daemon/data_directory.h"
#include "server/dispatcher.h"
#include "server/service_table.h"
#include "sim_temp_dir.h"
#include "store/event_log_file.h"
#include "store/fault_vfs.h"

namespace sim {

// Names the fault in test output (found by argument-dependent lookup).
void PrintTo(FaultVfs::Fault fault, std::ostream *out) {
    *out << (fault == FaultVfs::Fault::kDiskFull ? "disk full" : "I/O error on sync");
}

}  // namespace sim

namespace {

using Fault = sim::FaultVfs::Fault;

class SimStoreFaults : public ::testing::TestWithParam<Fault> {
  protected:
    SimStoreFaults() {
        EXPECT_EQ(data_.users().AddUser(sim::Actor::Daemon(), "op", sim::HashPassword("Operator#1"),
                                        wire::pb::ACL_OPERATOR),
                  sim::Result::kOk);
        wire::pb::Request login;
        login.mutable_login()->set_method(wire::pb::LOGIN_PASSWORD);
        login.mutable_login()->set_user("op");
        login.mutable_login()->set_password("Operator#1");
        EXPECT_EQ(Send(login).status(), wire::OK);
    }

    wire::pb::Response Send(wire::pb::Request request) {
        return sim::Dispatch(sim::ServiceTable(), hsm_, op_, request);
    }

    // The number of the log's last line and whether its chain is whole, read past the
    // faulty VFS.
    std::pair<int64_t, bool> LogEnd() {
        sim::Database db({dir_.database(), {}});
        sim::ChainReport report = sim::VerifyEventLog(db);
        return {report.lines, report.whole};
    }

    sim::FaultVfs vfs_{"sim-store-faults"};
    SimTempDir dir_;
    sim::SystemClock clock_;
    sim::DeviceIdentity identity_;
    sim::DataDirectory data_{dir_.path(), clock_, identity_.serial, vfs_.name()};
    sim::SessionTable sessions_{4};
    sim::DiagnosticLog log_{stderr};  // the refused commits' causes, in the test's output
    sim::HsmContext hsm_{
        data_.users(), data_.masterKey(), sessions_,      clock_,         identity_,
        data_.keys(),  data_.tokens(),    data_.policy(), data_.events(), log_};
    sim::ConnectionState op_;
};

TEST_P(SimStoreFaults, FailedCommitLeavesNoUserNoKeyNoLogLine) {
    wire::pb::Request createUser, generateKey;
    createUser.mutable_create_user()->set_user("dave");
    createUser.mutable_create_user()->set_password("Dave#12345");
    generateKey.mutable_generate_key()->set_name("k1");
    generateKey.mutable_generate_key()->set_algorithm(wire::pb::ALG_AES_256);
    auto [lines, whole] = LogEnd();
    ASSERT_TRUE(whole);
    // Users commit on their store's connection, keys through the key store's group commit.
    for (const wire::pb::Request &request : {createUser, generateKey}) {
        vfs_.FailNext(GetParam());
        EXPECT_EQ(Send(request).status(), wire::ERR_INTERNAL) << request.ShortDebugString();
        EXPECT_EQ(vfs_.armed(), Fault::kNone);
        EXPECT_EQ(LogEnd(), std::make_pair(lines, true));
    }
    EXPECT_FALSE(data_.users().FindUser("dave"));
    EXPECT_FALSE(data_.keys().Find("op", "k1", false));

    for (const wire::pb::Request &request : {createUser, generateKey})
        EXPECT_EQ(Send(request).status(), wire::OK) << request.ShortDebugString();
    EXPECT_TRUE(data_.users().FindUser("dave"));
    EXPECT_TRUE(data_.keys().Find("op", "k1", false));
    EXPECT_EQ(LogEnd(), std::make_pair(lines + 2, true));
}

INSTANTIATE_TEST_SUITE_P(Disk, SimStoreFaults, ::testing::Values(Fault::kDiskFull, Fault::kIoError),
                         [](const ::testing::TestParamInfo<Fault> &instance) {
                             return instance.param == Fault::kDiskFull ? "Full" : "IoError";
                         });

}  // namespace
