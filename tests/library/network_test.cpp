// The IP filter and the network tools through the library.

#include <string>
#include <utility>
#include <vector>

#include "qelvoarc_fixture.h"

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

uint32_t CollectEntry(const char *hostIp, const char *userId, void *context, int isFinal) {
    if (!isFinal) static_cast<Entries *>(context)->emplace_back(hostIp, userId);
    return 0;
}

class NetworkTest : public LibraryTest {
  protected:
    uint32_t Filter(uint32_t operation, const char *user, const char *host) {
        return QIPFilterOperation(operator_, operation, user, host, nullptr, nullptr, nullptr, 0);
    }

    // The state into *enabled and the entries as the callback delivers them.
    Entries Read(uint32_t *enabled) {
        Entries entries;
        EXPECT_EQ(QIPFilterOperation(operator_, Q_IPF_STATUS, nullptr, nullptr, CollectEntry,
                                     &entries, enabled, 0),
                  Q_OK);
        return entries;
    }

    // The tool's output, or the status in *status.
    std::string Tool(uint32_t tool, const char *target, uint32_t *status) {
        uint8_t *result = nullptr;
        uint32_t length = 0;
        *status = QHSMTool(operator_, tool, target, &result, &length, 0);
        if (*status != Q_OK) return {};
        std::string output(reinterpret_cast<const char *>(result), length);
        EXPECT_EQ(result[length], 0);
        QFree(result);
        return output;
    }
};

TEST_F(NetworkTest, FilterEntriesAndStateRoundTripAndOnlyTheOperatorChangesThem) {
    ASSERT_EQ(Filter(Q_IPF_ADD, nullptr, "127.0.0.1"), Q_OK);
    ASSERT_EQ(Filter(Q_IPF_ADD, "alice", "10.1.2.3"), Q_OK);
    ASSERT_EQ(Filter(Q_IPF_ENABLE, nullptr, nullptr), Q_OK);
    uint32_t enabled = 0;
    EXPECT_EQ(Read(&enabled), (Entries{{"10.1.2.3", "alice"}, {"127.0.0.1", ""}}));
    EXPECT_EQ(enabled, 1u);
    EXPECT_EQ(Filter(Q_IPF_REMOVE, nullptr, "127.0.0.1"), Q_ERR_IPF_LOCKOUT);
    EXPECT_EQ(Filter(Q_IPF_ADD, nullptr, "host.example"), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Filter(Q_IPF_ADD, nullptr, nullptr), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(Filter(7, nullptr, "127.0.0.1"), Q_ERR_INVALID_PARAMETER);

    AddUser("viewer", "Passw0rd!x", "32");  // may read the information, is no operator
    QSessionHandle viewer = Login("viewer");
    uint32_t viewerSees = 0;
    EXPECT_EQ(QIPFilterOperation(viewer, Q_IPF_STATUS, nullptr, nullptr, nullptr, nullptr,
                                 &viewerSees, 0),
              Q_OK);
    EXPECT_EQ(viewerSees, 1u);
    EXPECT_EQ(
        QIPFilterOperation(viewer, Q_IPF_DISABLE, nullptr, nullptr, nullptr, nullptr, nullptr, 0),
        Q_ERR_ACCESS_DENIED);
    QCloseSession(&viewer, 0);

    ASSERT_EQ(Filter(Q_IPF_DISABLE, nullptr, nullptr), Q_OK);
    ASSERT_EQ(Filter(Q_IPF_REMOVE, "alice", "10.1.2.3"), Q_OK);
    EXPECT_EQ(Read(&enabled), (Entries{{"127.0.0.1", ""}}));
    EXPECT_EQ(enabled, 0u);
}

TEST_F(NetworkTest, PingRunsOnTheHsmAndAnInjectedTargetNeverReachesAShell) {
    uint32_t status = 0;
    EXPECT_EQ(Tool(Q_TOOL_PING, ";reboot", &status), "");
    EXPECT_EQ(status, Q_ERR_TOOL_TARGET);
    Tool(Q_TOOL_TRACEROUTE, "-f", &status);
    EXPECT_EQ(status, Q_ERR_TOOL_TARGET);

    const std::string output = Tool(Q_TOOL_PING, "127.0.0.1", &status);
    if (status == Q_ERR_TOOL_UNAVAILABLE)
        GTEST_SKIP() << "ping is not installed here (Debian iputils-ping)";
    ASSERT_EQ(status, Q_OK);
    if (output.find("Operation not permitted") != std::string::npos)
        GTEST_SKIP() << "ping may not open its socket here (CAP_NET_RAW or "
                        "net.ipv4.ping_group_range): "
                     << output;
    EXPECT_NE(output.find("bytes from 127.0.0.1"), std::string::npos) << output;
}

}  // namespace
