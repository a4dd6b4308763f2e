// A commit the disk refuses (full, or failing its sync) leaves nothing of the request
// behind, neither the change nor its log line, and answers an internal error; once the
// disk works again, so does the store.

#include <gtest/gtest.h>

#include "sim_hsm_fixture.h"
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

// Registered before, and removed after, the stores that open the database through it.
struct FaultyDisk {
    sim::FaultVfs vfs_{"sim-store-faults"};
};

class SimStoreFaults : protected FaultyDisk,
                       public SimHsm,
                       public ::testing::WithParamInterface<Fault> {
  protected:
    SimStoreFaults() : SimHsm(vfs_.name()) {
        AddUser("op", "Operator#1", wire::pb::ACL_OPERATOR);
        EXPECT_EQ(Send(Login("op", "Operator#1")).status(), wire::OK);
    }

    wire::pb::Response Send(wire::pb::Request request) { return SimHsm::Send(op_, request); }

    // The number of the log's last line and whether its chain is whole, read past the
    // faulty VFS.
    std::pair<int64_t, bool> LogEnd() {
        sim::Database db({dir_.Path("hsm.db"), {}});
        sim::ChainReport report = sim::VerifyEventLog(db);
        return {report.lines, report.whole};
    }

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
        EXPECT_EQ(Send(request).status(),
                  GetParam() == Fault::kDiskFull ? wire::ERR_STORAGE_FULL : wire::ERR_INTERNAL)
            << request.ShortDebugString();
        EXPECT_EQ(vfs_.armed(), Fault::kNone);
        EXPECT_EQ(LogEnd(), std::make_pair(lines, true));
    }
    EXPECT_FALSE(data_.users().FindUser("dave")) << LogText();
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
