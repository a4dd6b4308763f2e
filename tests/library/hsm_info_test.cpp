// The HSM's information, measured on the machine the simulator runs on, and who may read it.

#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>

#include "qelvoarc_fixture.h"

namespace {

// A figure of /proc/meminfo in KiB ("MemTotal", "SwapTotal").
uint64_t MeminfoKib(const std::string &name) {
    std::ifstream meminfo("/proc/meminfo");
    std::string label;
    uint64_t value = 0;
    std::string unit;
    while (meminfo >> label >> value >> unit)
        if (label == name + ":") return value;
    return 0;
}

uint32_t ReadInfo(QSessionHandle session, uint32_t kind, void *buffer, uint32_t size) {
    uint32_t flagWord = 0, length = size;
    return QGetHsmInfo(session, &flagWord, kind, buffer, &length, 0);
}

struct SessionSeen {
    uint64_t startTime;
    std::string description;
};

uint32_t CollectSession(uint64_t startTime, const char *description, void *context, int isFinal) {
    if (!isFinal)
        static_cast<std::vector<SessionSeen> *>(context)->push_back({startTime, description});
    return 0;
}

using HsmInfoTest = LibraryTest;

TEST_F(HsmInfoTest, TheRecordAndTheSmallKindsTellTheSimulatorsState) {
    AddUser("alice", "Passw0rd!x");
    Generate(operator_, "k1");
    QSessionHandle clear = OpenOperator(Q_SESSION_CLEAR);

    QHsmInfoRecord record{};
    ASSERT_EQ(ReadInfo(operator_, Q_INFO_STATUS, &record, sizeof record), Q_OK);
    EXPECT_EQ(record.version, Q_HSM_INFO_RECORD_VERSION);
    EXPECT_EQ(record.sessions, 2u);
    EXPECT_EQ(record.memoryTotal, MeminfoKib("MemTotal"));
    EXPECT_LE(record.memoryUsed, record.memoryTotal);
    EXPECT_LE(record.cpuPercent, 100u);
    EXPECT_GT(record.storageTotal, 0u);
    EXPECT_LE(record.storageFree, record.storageTotal);
    EXPECT_NEAR(double(record.clock), double(std::time(nullptr)), 5);
    EXPECT_EQ(record.userCount, 2u);
    EXPECT_EQ(record.objectCount, 1u);
    EXPECT_GT(record.databaseSize, 0u);
    EXPECT_EQ(std::string(record.pendingUpdate), "");
    char firmware[64] = {}, serial[64] = {};
    EXPECT_EQ(
        std::sscanf(record.engineDescription, "%*s %*s Engine %63s %*s %63s", firmware, serial), 2);
    EXPECT_STREQ(firmware, "5.1.0.0");
    EXPECT_STREQ(serial, "OV00000001");
    EXPECT_EQ(std::string(record.tpKey).size(), 40u);  // SHA-1 of the TLS key
    EXPECT_EQ(record.replication.state, Q_REPL_STATE_ZEROED);

    uint32_t uptime[2] = {};
    ASSERT_EQ(ReadInfo(operator_, Q_INFO_UPTIME, uptime, sizeof uptime), Q_OK);
    EXPECT_LT(uptime[0], 600u);
    EXPECT_EQ(uptime[1], 1u);  // battery ok
    uint64_t now = 0;
    ASSERT_EQ(ReadInfo(operator_, Q_INFO_CLOCK, &now, sizeof now), Q_OK);
    EXPECT_NEAR(double(now), double(std::time(nullptr)), 5);
    QReplicationNodes nodes{};
    nodes.count = 99;
    ASSERT_EQ(ReadInfo(operator_, Q_INFO_REPLICATION, &nodes, sizeof nodes), Q_OK);
    EXPECT_EQ(nodes.count, 0u);

    // A short buffer learns the size it needs; a closed session is no session.
    uint32_t flagWord = 0, length = 100;
    EXPECT_EQ(QGetHsmInfo(operator_, &flagWord, Q_INFO_STATUS, &record, &length, 0),
              Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, Q_HSM_INFO_RECORD_SIZE);
    ASSERT_EQ(QCloseSession(&clear, 0), Q_OK);
    EXPECT_EQ(ReadInfo(clear, Q_INFO_CLOCK, &now, sizeof now), Q_ERR_INVALID_HANDLE);
}

TEST_F(HsmInfoTest, PkcsInformationIsASnapshotReleasedOnce) {
    QP11InfoHandle before = 0;
    ASSERT_EQ(QGetHSMP11Info(operator_, &before, 0), Q_OK);
    ASSERT_EQ(sim_.Simctl({"tamper", "on"}), 0);
    QP11InfoHandle after = 0;
    ASSERT_EQ(QGetHSMP11Info(operator_, &after, 0), Q_OK);

    uint8_t tampered = 0xAA;
    uint32_t length = sizeof tampered;
    ASSERT_EQ(QGetHSMP11InfoAttr(before, Q_P11_ATTR_TAMPERED, &tampered, &length, 0), Q_OK);
    EXPECT_EQ(tampered, 0);
    ASSERT_EQ(QGetHSMP11InfoAttr(after, Q_P11_ATTR_TAMPERED, &tampered, &length, 0), Q_OK);
    EXPECT_EQ(tampered, 1);

    // Bound to no cloud account: both switches off, the HSM's id is its serial.
    uint64_t flag = 7;
    length = sizeof flag;
    ASSERT_EQ(QGetHSMP11InfoAttr(after, Q_P11_ATTR_CLOUD_STATUS, &flag, &length, 0), Q_OK);
    EXPECT_EQ(flag, 0u);
    char text[2048];
    length = 4;
    EXPECT_EQ(QGetHSMP11InfoAttr(after, Q_P11_ATTR_HSM_ID, text, &length, 0),
              Q_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 11u);
    ASSERT_EQ(QGetHSMP11InfoAttr(after, Q_P11_ATTR_HSM_ID, text, &length, 0), Q_OK);
    EXPECT_STREQ(text, "OV00000001");
    length = sizeof text;
    ASSERT_EQ(QGetHSMP11InfoAttr(after, Q_P11_ATTR_TELEMETRY_URL, text, &length, 0), Q_OK);
    EXPECT_EQ(length, 1u);
    EXPECT_EQ(QGetHSMP11InfoAttr(after, 23, text, &length, 0), Q_ERR_INVALID_PARAMETER);

    QTypeInfo *types = nullptr;
    uint32_t count = 0;
    ASSERT_EQ(QGetHSMP11TypeInfoList(&types, &count, 0), Q_OK);
    ASSERT_EQ(count, 6u);
    EXPECT_EQ(types[2].code, Q_P11_ATTR_HSM_ID);
    EXPECT_STREQ(types[2].name, "HSM Id");
    QFree(types);

    EXPECT_EQ(QDestroyHSMP11Info(before, 0), Q_OK);
    EXPECT_EQ(QDestroyHSMP11Info(before, 0), Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QGetHSMP11InfoAttr(before, Q_P11_ATTR_TAMPERED, &tampered, &length, 0),
              Q_ERR_INVALID_HANDLE);
    EXPECT_EQ(QGetHSMP11InfoAttr(operator_, Q_P11_ATTR_TAMPERED, &tampered, &length, 0),
              Q_ERR_INVALID_HANDLE);  // a session is not an information handle
    EXPECT_EQ(QDestroyHSMP11Info(after, 0), Q_OK);
}

TEST_F(HsmInfoTest, MachineFiguresSessionsAndModules) {
    QStatInfo stats{};
    ASSERT_EQ(QGetStatInfo(operator_, &stats, 0), Q_OK);
    EXPECT_EQ(stats.sessions, 1u);
    EXPECT_EQ(stats.memoryTotal, MeminfoKib("MemTotal"));
    EXPECT_EQ(stats.swapTotal, MeminfoKib("SwapTotal"));
    EXPECT_LE(stats.swapUsed, stats.swapTotal);
    EXPECT_EQ(QGetStatInfo(operator_, nullptr, 0), Q_ERR_INVALID_PARAMETER);

    std::vector<std::string> modules;
    ASSERT_EQ(QListLoadedModules(operator_, CollectNames, &modules, 0), Q_OK);
    auto has = [&](const std::string &prefix) {
        for (const std::string &module : modules)
            if (module.rfind(prefix, 0) == 0) return true;
        return false;
    };
    EXPECT_TRUE(has("OpenSSL 3.") && has("OpenSSL provider default ") && has("SQLite 3.") &&
                has("protobuf "))
        << ::testing::PrintToString(modules);

    QSessionHandle clear = OpenOperator(Q_SESSION_CLEAR);
    std::vector<SessionSeen> sessions;
    ASSERT_EQ(QListUserSessions(operator_, CollectSession, &sessions, 0), Q_OK);
    ASSERT_EQ(sessions.size(), 2u);
    EXPECT_EQ(sessions[0].description.substr(0, 13), "127.0.0.1, id");
    EXPECT_NE(sessions[0].description.find(", tls: y, master"), std::string::npos);
    EXPECT_NE(sessions[1].description.find(", tls: n, master"), std::string::npos);
    EXPECT_NEAR(double(sessions[1].startTime), double(std::time(nullptr)), 5);
    EXPECT_EQ(QListUserSessions(operator_, nullptr, nullptr, 0), Q_ERR_INVALID_PARAMETER);
    EXPECT_EQ(QCloseSession(&clear, 0), Q_OK);
}

TEST(HsmInfoNetwork, InterfacesAndRoutesAreTheMachinesAndModeAndSnmpAreConfigured) {
    SimProcess sim(SimProcess::Options{.extraArgs = {"--snmp-contact", "ops", "--snmp-community",
                                                     "c1", "--snmp-trap", "10.0.0.9", "--snmp-trap",
                                                     "10.0.0.10", "--hsm-mode", "3"}});
    ASSERT_EQ(QInitialize(0), Q_OK);
    QSessionHandle session = 0;
    const QPasswordLoginRecord record = PasswordRecord(sim.port(), "master", sim.initPassword());
    ASSERT_EQ(QOpenSession(&session, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_TLS),
              Q_OK);
    uint32_t mode = 0, flagWord = 0, length = sizeof mode;
    ASSERT_EQ(QGetHsmInfo(session, &flagWord, Q_INFO_MODE, &mode, &length, 0), Q_OK);
    EXPECT_EQ(mode, 3u);  // the configured mode, not a default
    QNetInfo info{};
    ASSERT_EQ(QGetNetInfo(session, &info, 0), Q_OK);
    EXPECT_STREQ(info.sysContact, "ops");
    EXPECT_STREQ(info.community, "c1");
    EXPECT_STREQ(info.trapTargets, "10.0.0.9;10.0.0.10");
    // The default route of the machine, as the kernel holds it.
    std::ifstream routes("/proc/net/route");
    std::string line, name, destination, gateway;
    bool hasDefault = false;
    while (std::getline(routes, line)) {
        std::istringstream(line) >> name >> destination >> gateway;
        hasDefault = hasDefault || destination == "00000000";
    }
    EXPECT_EQ(std::string(info.gatewayMask) == "255.255.255.255", !hasDefault);
    for (uint32_t i = 0; i < info.interfaceCount; ++i)
        EXPECT_NE(std::string(info.interfaces[i].address), "127.0.0.1");
    EXPECT_EQ(QCloseSession(&session, 0), Q_OK);
    EXPECT_EQ(QFinalize(), Q_OK);
}

TEST_F(HsmInfoTest, WithoutRemoteInformationTheHsmRefusesAndLogsIt) {
    AddUser("plain", "Passw0rd!x");
    AddUser("viewer", "Passw0rd!x", "0x20");
    QSessionHandle plain = Login("plain"), viewer = Login("viewer");
    QHsmInfoRecord record{};
    QStatInfo stats{};
    QNetInfo net{};
    std::vector<std::string> names;
    std::vector<SessionSeen> sessions;
    // That no right at all reads none of it is the dispatcher test's; here the one right that
    // reads all of it, and the refusal's line in the log.
    for (uint32_t kind : {Q_INFO_STATUS, Q_INFO_UPTIME, Q_INFO_CLOCK, Q_INFO_REPLICATION})
        EXPECT_EQ(ReadInfo(viewer, kind, &record, sizeof record), Q_OK) << kind;
    EXPECT_EQ(QGetStatInfo(viewer, &stats, 0), Q_OK);
    EXPECT_EQ(QGetNetInfo(viewer, &net, 0), Q_OK);
    EXPECT_EQ(QListLoadedModules(viewer, CollectNames, &names, 0), Q_OK);
    EXPECT_EQ(QListUserSessions(viewer, CollectSession, &sessions, 0), Q_OK);
    EXPECT_EQ(QGetStatInfo(plain, &stats, 0), Q_ERR_ACCESS_DENIED);
    const std::string log = ExportedLog(sim_.dataDir());
    EXPECT_NE(log.find("|plain|Request refused: get_stat_info|access denied"), std::string::npos)
        << log;
    EXPECT_EQ(log.find("|viewer|Request refused"), std::string::npos);
    EXPECT_EQ(QCloseSession(&plain, 0), Q_OK);
    EXPECT_EQ(QCloseSession(&viewer, 0), Q_OK);
}

}  // namespace
