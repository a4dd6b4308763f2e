// Three simulators in one replication domain, driven through the library: every change is
// on every active node before it is acknowledged, and nothing an operator can do or a node
// can suffer leaves two nodes different.

#include <arpa/inet.h>
#include <openssl/evp.h>
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "qelvoarc_fixture.h"
#include "sim_domain.h"

namespace {

const char *const kReplicatedTables[] = {"users",           "oath_tokens",     "access_tokens",
                                         "password_policy", "objects",         "svmk_state",
                                         "mofn_partitions", "security_policy", "eftd_config"};

// Journal entries a node keeps for nodes that are away.
constexpr int kJournalChanges = 50;

// A SHA-256 over every row of every replicated table, read from the node's file: what is on
// disk, not what the node says.
std::string DatabaseDigest(const SimProcess &node) {
    sqlite3 *db = nullptr;
    sqlite3_open_v2((node.dataDir() + "/hsm.db").c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    EVP_MD_CTX *hash = EVP_MD_CTX_new();
    EVP_DigestInit_ex(hash, EVP_sha256(), nullptr);
    for (const char *table : kReplicatedTables) {
        sqlite3_stmt *rows = nullptr;
        const std::string sql = std::string("SELECT * FROM ") + table + " ORDER BY 1";
        EXPECT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &rows, nullptr), SQLITE_OK) << table;
        while (sqlite3_step(rows) == SQLITE_ROW) {
            for (int c = 0; c < sqlite3_column_count(rows); ++c) {
                const void *value = sqlite3_column_blob(rows, c);
                EVP_DigestUpdate(hash, value, static_cast<size_t>(sqlite3_column_bytes(rows, c)));
                EVP_DigestUpdate(hash, "|", 1);
            }
        }
        sqlite3_finalize(rows);
    }
    unsigned char digest[32];
    EVP_DigestFinal_ex(hash, digest, nullptr);
    EVP_MD_CTX_free(hash);
    sqlite3_close(db);
    return std::string(reinterpret_cast<char *>(digest), sizeof digest);
}

int64_t JournalLength(const SimProcess &node) {
    sqlite3 *db = nullptr;
    sqlite3_open_v2((node.dataDir() + "/hsm.db").c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt *count = nullptr;
    sqlite3_prepare_v2(db, "SELECT count(*) FROM replication_journal", -1, &count, nullptr);
    const int64_t length = sqlite3_step(count) == SQLITE_ROW ? sqlite3_column_int64(count, 0) : -1;
    sqlite3_finalize(count);
    sqlite3_close(db);
    return length;
}

bool HasObject(const SimProcess &node, const std::string &name) {
    sqlite3 *db = nullptr;
    sqlite3_open_v2((node.dataDir() + "/hsm.db").c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt *find = nullptr;
    sqlite3_prepare_v2(db, "SELECT 1 FROM objects WHERE name = ?", -1, &find, nullptr);
    sqlite3_bind_text(find, 1, name.c_str(), -1, SQLITE_TRANSIENT);
    const bool found = sqlite3_step(find) == SQLITE_ROW;
    sqlite3_finalize(find);
    sqlite3_close(db);
    return found;
}

// Scratch copies of the database (images a node served or took) left in the node's directory.
std::vector<std::string> ScratchCopies(const SimProcess &node) {
    std::vector<std::string> left;
    for (const auto &entry : std::filesystem::directory_iterator(node.dataDir()))
        if (entry.path().filename().string().starts_with("hsm.db."))
            left.push_back(entry.path().filename().string());
    return left;
}

class ReplicationTest : public ::testing::Test {
  protected:
    void SetUp() override {
        for (size_t i = 0; i < domain_.size(); ++i)
            ASSERT_NE(domain_[i].port(), 0u);
        ASSERT_EQ(QInitialize(0), Q_OK);
    }
    void TearDown() override {
        for (QSessionHandle &session : sessions_)
            if (session != 0) QCloseSession(&session, 0);
        EXPECT_EQ(QFinalize(), Q_OK);
    }

    // A session of the operator on node `i`, kept until the test ends.
    QSessionHandle Operator(size_t i) {
        QPasswordLoginRecord record =
            PasswordRecord(domain_.port(), "master", domain_[i].initPassword());
        std::strncpy(record.address, domain_[i].host().c_str(), sizeof record.address - 1);
        QSessionHandle session = 0;
        EXPECT_EQ(QOpenSession(&session, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_TLS),
                  Q_OK);
        sessions_.push_back(session);
        return session;
    }

    static uint32_t NodeOperation(QSessionHandle session, uint8_t operation,
                                  const std::string &address) {
        QReplicationNodeOp op{};
        op.operation = operation;
        inet_pton(AF_INET, address.c_str(), op.address);
        return QAdmOperation(session, Q_ADM_REPLICATION_NODE, &op, sizeof op, 0);
    }

    static std::vector<std::string> Nodes(QSessionHandle session) {
        QReplicationNodes nodes{};
        uint32_t flags = 0, length = sizeof nodes;
        EXPECT_EQ(QGetHsmInfo(session, &flags, Q_INFO_REPLICATION, &nodes, &length, 0), Q_OK);
        return std::vector<std::string>(nodes.nodes, nodes.nodes + nodes.count);
    }

    static uint32_t GenerateKey(QSessionHandle session, const std::string &name) {
        QKeyHandle key = 0;
        uint32_t status = QGenerateKey(session, name.c_str(), Q_ALG_AES_256, 0, &key);
        if (key != 0) QDestroyKey(key, 0);
        return status;
    }

    // Node 0 adds every other node.
    void FormDomain() {
        QSessionHandle first = Operator(0);
        for (size_t i = 1; i < domain_.size(); ++i)
            ASSERT_EQ(NodeOperation(first, 3, domain_[i].host()), Q_OK) << i;
    }

    // Whether every node's database reaches the digest of node 0 within a few seconds.
    bool Converges() {
        for (int attempt = 0; attempt < 100; ++attempt) {
            bool same = true;
            for (size_t i = 1; i < domain_.size(); ++i)
                same = same && DatabaseDigest(domain_[i]) == DatabaseDigest(domain_[0]);
            if (same) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return false;
    }

    SimDomain domain_{3,
                      {"--repl-pulse", "1", "--repl-recovery", "1", "--repl-journal",
                       std::to_string(kJournalChanges)}};
    std::vector<QSessionHandle> sessions_;
};

TEST_F(ReplicationTest, EveryWriteIsOnEveryNodeBeforeItsAcknowledgement) {
    // Made alone, after the other nodes were copied: they take it when they join.
    ASSERT_EQ(GenerateKey(Operator(0), "made alone"), Q_OK);
    EXPECT_EQ(JournalLength(domain_[0]), 0);
    FormDomain();
    EXPECT_TRUE(HasObject(domain_[1], "made alone"));
    EXPECT_TRUE(HasObject(domain_[2], "made alone"));
    std::vector<QSessionHandle> sessions = {Operator(0), Operator(1), Operator(2)};
    EXPECT_EQ(Nodes(sessions[1]), (std::vector<std::string>{domain_[0].host(), domain_[2].host()}));
    for (size_t i = 0; i < domain_.size(); ++i) {
        const std::string name = "written on " + std::to_string(i);
        ASSERT_EQ(GenerateKey(sessions[i], name), Q_OK);
        for (size_t other = 0; other < domain_.size(); ++other)
            EXPECT_TRUE(HasObject(domain_[other], name)) << name << " on " << other;
    }
    // A name taken on one node is taken on all.
    EXPECT_EQ(GenerateKey(sessions[2], "written on 0"), Q_ERR_ALREADY_EXISTS);

    QHsmInfoRecord record{};
    uint32_t flags = 0, length = sizeof record;
    ASSERT_EQ(QGetHsmInfo(sessions[0], &flags, Q_INFO_STATUS, &record, &length, 0), Q_OK);
    EXPECT_EQ(record.replication.state, Q_REPL_STATE_LIVE_SYNC);
    EXPECT_EQ(record.replication.joinedDomain, 1);
    EXPECT_EQ(record.replication.managerInterval, 1u);
    // The domain's opening and the three keys, most significant byte first.
    EXPECT_EQ(record.replication.syncPoint[7], 4);
    EXPECT_STREQ(record.replication.binds[0].address, domain_[0].host().c_str());
}

TEST_F(ReplicationTest, ConcurrentConflictingWritesLeaveIdenticalDatabases) {
    FormDomain();
    std::atomic<int> conflicts{0}, unexpected{0};
    auto run = [&](QSessionHandle session, unsigned seed) {
        std::mt19937 random(seed);
        for (int n = 0; n < 260; ++n) {
            const std::string name = "contested " + std::to_string(random() % 12);
            const uint32_t status =
                random() % 2 == 0 ? GenerateKey(session, name) : QRemoveObj(session, name.c_str());
            if (status == Q_ERR_REPL_CONFLICT) conflicts++;
            if (status != Q_OK && status != Q_ERR_REPL_CONFLICT && status != Q_ERR_ALREADY_EXISTS &&
                status != Q_ERR_NOT_FOUND)
                unexpected++;
        }
    };
    QSessionHandle first = Operator(0), second = Operator(1);
    std::thread a(run, first, 1u), b(run, second, 2u);
    a.join();
    b.join();
    EXPECT_EQ(unexpected, 0);
    RecordProperty("conflicts", conflicts.load());
    EXPECT_TRUE(Converges());
}

TEST_F(ReplicationTest, StoppedNodeBlocksChangesUntilNotifiedDownAndCatchesUpWhenBack) {
    FormDomain();
    QSessionHandle first = Operator(0);
    domain_.Pause(2);
    EXPECT_EQ(GenerateKey(first, "while away"), Q_ERR_REPL_NODE_UNREACHABLE);
    EXPECT_FALSE(HasObject(domain_[0], "while away"));
    ASSERT_EQ(NodeOperation(first, 2, domain_[2].host()), Q_OK);
    ASSERT_EQ(NodeOperation(Operator(1), 2, domain_[2].host()), Q_OK);
    for (int n = 0; n < 20; ++n)
        ASSERT_EQ(GenerateKey(first, "while away " + std::to_string(n)), Q_OK);
    EXPECT_TRUE(HasObject(domain_[1], "while away 19"));

    domain_.Resume(2);
    EXPECT_TRUE(Converges());
    // Back in the active lists: the next change waits for it again.
    std::this_thread::sleep_for(std::chrono::seconds(2));
    ASSERT_EQ(GenerateKey(first, "after return"), Q_OK);
    EXPECT_TRUE(HasObject(domain_[2], "after return"));

    // A restart misses the changes made meanwhile and takes them from the others.
    domain_[2].Stop();
    ASSERT_EQ(NodeOperation(first, 2, domain_[2].host()), Q_OK);
    ASSERT_EQ(NodeOperation(Operator(1), 2, domain_[2].host()), Q_OK);
    ASSERT_EQ(GenerateKey(first, "while stopped"), Q_OK);
    domain_[2].Restart();
    EXPECT_TRUE(Converges());
}

TEST_F(ReplicationTest, NodeAwayLongerThanTheJournalCatchesUpByASnapshot) {
    FormDomain();
    QSessionHandle first = Operator(0);
    domain_[2].Stop();
    ASSERT_EQ(NodeOperation(first, 2, domain_[2].host()), Q_OK);
    ASSERT_EQ(NodeOperation(Operator(1), 2, domain_[2].host()), Q_OK);
    for (int n = 0; n < 3 * kJournalChanges; ++n)
        ASSERT_EQ(GenerateKey(first, "while far " + std::to_string(n)), Q_OK);
    ASSERT_EQ(QRemoveObj(first, "while far 0"), Q_OK);
    // Kept for the node away, but only so much.
    EXPECT_GE(JournalLength(domain_[1]), kJournalChanges);
    EXPECT_LT(JournalLength(domain_[1]), 2 * kJournalChanges);
    // As a crash while taking an image would leave it.
    std::ofstream(domain_[2].dataDir() + "/hsm.db.node-image-crashed") << "half an image";

    domain_[2].Restart();
    EXPECT_TRUE(Converges());
    std::this_thread::sleep_for(std::chrono::seconds(2));
    ASSERT_EQ(GenerateKey(first, "after the snapshot"), Q_OK);
    EXPECT_TRUE(HasObject(domain_[2], "after the snapshot"));
    EXPECT_FALSE(HasObject(domain_[2], "while far 0"));
    for (size_t i = 0; i < domain_.size(); ++i)
        EXPECT_TRUE(ScratchCopies(domain_[i]).empty()) << i;
}

// A commit that fails after phase 2 went out leaves the change made where it could be, and
// the client hears so; the node without it takes it when it catches up. No write of phase 1
// reaches a file (the change waits in SQLite's cache), so a file-size limit of 0 fails exactly
// the commit.
TEST_F(ReplicationTest, ACommitThatFailsAfterPhaseTwoIsMadeWhereItCouldAndCaughtUpLater) {
    FormDomain();
    QSessionHandle first = Operator(0);
    domain_[2].LimitFileSize(0);
    EXPECT_EQ(GenerateKey(first, "unconfirmed"), Q_ERR_REPL_UNCONFIRMED);
    EXPECT_TRUE(HasObject(domain_[0], "unconfirmed"));
    EXPECT_TRUE(HasObject(domain_[1], "unconfirmed"));
    EXPECT_FALSE(HasObject(domain_[2], "unconfirmed"));
    domain_[2].LimitFileSize(RLIM_INFINITY);
    EXPECT_TRUE(Converges());

    domain_[0].LimitFileSize(0);
    EXPECT_EQ(GenerateKey(first, "not here"), Q_ERR_REPL_NOT_HERE);
    EXPECT_FALSE(HasObject(domain_[0], "not here"));
    EXPECT_TRUE(HasObject(domain_[1], "not here"));
    EXPECT_TRUE(HasObject(domain_[2], "not here"));
    domain_[0].LimitFileSize(RLIM_INFINITY);
    EXPECT_TRUE(Converges());
    EXPECT_TRUE(HasObject(domain_[0], "not here"));
    EXPECT_EQ(GenerateKey(first, "afterwards"), Q_OK);
}

TEST_F(ReplicationTest, NodesJoinAndLeaveOnEveryLiveNode) {
    QSessionHandle first = Operator(0);
    EXPECT_EQ(NodeOperation(first, 1, domain_[1].host()), Q_OK);
    ASSERT_EQ(NodeOperation(first, 3, domain_[1].host()), Q_OK);
    EXPECT_EQ(NodeOperation(first, 3, domain_[1].host()), Q_ERR_REPL_NODE_EXISTS);
    ASSERT_EQ(NodeOperation(Operator(1), 3, domain_[2].host()), Q_OK);
    EXPECT_EQ(Nodes(first), (std::vector<std::string>{domain_[1].host(), domain_[2].host()}));
    EXPECT_EQ(Nodes(Operator(2)), (std::vector<std::string>{domain_[0].host(), domain_[1].host()}));

    ASSERT_EQ(NodeOperation(first, 4, domain_[1].host()), Q_OK);
    EXPECT_EQ(Nodes(first), std::vector<std::string>{domain_[2].host()});
    EXPECT_EQ(Nodes(Operator(2)), std::vector<std::string>{domain_[0].host()});
    EXPECT_TRUE(Nodes(Operator(1)).empty());
    EXPECT_EQ(NodeOperation(first, 4, domain_[1].host()), Q_ERR_REPL_NODE_UNKNOWN);

    // A node with its own master key is no node of this domain.
    SimProcess &stranger = domain_.AddProcess(true);
    EXPECT_EQ(NodeOperation(first, 1, stranger.host()), Q_ERR_REPL_FOREIGN_NODE);
    EXPECT_EQ(NodeOperation(first, 3, stranger.host()), Q_ERR_REPL_FOREIGN_NODE);
    stranger.Stop();
    EXPECT_EQ(NodeOperation(first, 1, stranger.host()), Q_ERR_REPL_NODE_TEST_FAILED);
}

// The node list tool asks every node of the list for its own: one record each, the answering
// HSM first; a node that cannot be asked says why.
TEST_F(ReplicationTest, NodeListToolReportsWhatEachNodeHolds) {
    FormDomain();
    QSessionHandle first = Operator(0);
    ASSERT_EQ(GenerateKey(first, "counted"), Q_OK);
    domain_[2].Stop();
    uint8_t *result = nullptr;
    uint32_t length = 0;
    ASSERT_EQ(QHSMTool(first, Q_TOOL_NODE_LIST, nullptr, &result, &length, 0), Q_OK);
    ASSERT_EQ(length, 3 * sizeof(QNodeRecord));
    QNodeRecord records[3];
    std::memcpy(records, result, length);
    QFree(result);

    auto listed = [](const QNodeRecord &record) {
        std::vector<std::string> nodes;
        for (uint32_t i = 0; i < record.nodeCount; ++i) {
            char text[INET_ADDRSTRLEN] = {};
            inet_ntop(AF_INET, record.nodes[i], text, sizeof text);
            nodes.push_back(text);
        }
        return nodes;
    };
    EXPECT_STREQ(records[0].address, domain_[0].host().c_str());
    EXPECT_EQ(records[0].self, 1u);
    EXPECT_EQ(listed(records[0]), (std::vector<std::string>{domain_[1].host(), domain_[2].host()}));
    EXPECT_STRNE(records[0].version, "0");

    EXPECT_STREQ(records[1].address, domain_[1].host().c_str());
    EXPECT_EQ(records[1].status, Q_OK);
    EXPECT_EQ(records[1].self, 0u);
    EXPECT_EQ(listed(records[1]), (std::vector<std::string>{domain_[0].host(), domain_[2].host()}));
    EXPECT_STREQ(records[1].version, records[0].version);

    EXPECT_STREQ(records[2].address, domain_[2].host().c_str());
    EXPECT_EQ(records[2].status, Q_ERR_REPL_NODE_TEST_FAILED);
    EXPECT_EQ(records[2].nodeCount, 0u);
}

}  // namespace
