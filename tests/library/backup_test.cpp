// Whole-HSM backup and restore through QBackupData: a snapshot taken under load restores on
// another HSM, faults of the file change nothing, the network settings follow the flags, and
// a restored HSM refuses work until it restarts.

#include <sqlite3.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>

#include "keys_fixture.h"
#include "temp_dir.h"

namespace {

// Connections of this process to `port` that the server has closed and this side has not
// (CLOSE_WAIT in /proc/self/net/tcp): a session the server ended without being asked.
int ClosedByServer(uint16_t port) {
    std::ifstream table("/proc/self/net/tcp");
    std::string line;
    std::getline(table, line);  // the heading
    int closed = 0;
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string slot, local, remote, state;
        fields >> slot >> local >> remote >> state;
        const uint16_t remotePort =
            static_cast<uint16_t>(std::stoul(remote.substr(remote.find(':') + 1), nullptr, 16));
        if (state == "08" && remotePort == port) ++closed;
    }
    return closed;
}

constexpr const char *kPassword = "backup-pass-1";

// One answer of a query on the database of a data directory.
std::string Query(const std::string &dataDir, const std::string &sql) {
    sqlite3 *db = nullptr;
    std::string answer = "no answer";
    if (sqlite3_open_v2((dataDir + "/hsm.db").c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) ==
        SQLITE_OK) {
        sqlite3_busy_timeout(db, 10000);
        sqlite3_stmt *stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK) {
            const int rc = sqlite3_step(stmt);
            answer = rc == SQLITE_ROW ? reinterpret_cast<const char *>(sqlite3_column_text(stmt, 0))
                     : rc == SQLITE_DONE ? ""
                                         : sqlite3_errmsg(db);
        }
        sqlite3_finalize(stmt);
    }
    sqlite3_close(db);
    return answer;
}

uint32_t BackupPending(QSessionHandle session) {
    QHsmInfoRecord record{};
    uint32_t flagWord = 0, length = sizeof record;
    EXPECT_EQ(QGetHsmInfo(session, &flagWord, Q_INFO_STATUS, &record, &length, 0), Q_OK);
    return record.backupPending;
}

class BackupTest : public KeysTest {
  protected:
    // A session of the operator of `sim`.
    static QSessionHandle OperatorOf(const SimProcess &sim) {
        QSessionHandle session = 0;
        const QPasswordLoginRecord record =
            PasswordRecord(sim.port(), "master", sim.initPassword());
        EXPECT_EQ(QOpenSession(&session, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_TLS),
                  Q_OK);
        return session;
    }

    // Restores `file` onto `sim` and restarts it; false when the restore failed.
    static uint32_t RestoreAndRestart(SimProcess &sim, const std::string &file, uint32_t flags) {
        QSessionHandle session = OperatorOf(sim);
        const uint32_t status = QBackupData(session, file.c_str(), kPassword, flags);
        QCloseSession(&session, 0);
        sim.Restart();
        return status;
    }

    TempDir files_;
};

TEST_F(BackupTest, ASnapshotUnderLoadRestoresOnAnotherHsmWhichThenWaitsForItsRestart) {
    Generate(operator_, "before", Q_ALG_AES_256);
    const std::string kcv = Kcv(operator_, "before");
    ASSERT_EQ(kcv.size(), 6u) << kcv;

    std::atomic<bool> snapshotAsked{false}, stop{false};
    std::mutex mutex;
    std::vector<std::string> acknowledged;  // before the backup was asked for
    std::vector<std::thread> workers;
    for (int t = 0; t < 8; ++t)
        workers.emplace_back([&, t] {
            QSessionHandle session = OperatorOf(sim_);
            for (int n = 0; !stop; ++n) {
                const std::string name = "t" + std::to_string(t) + "-" + std::to_string(n);
                QKeyHandle key = 0;
                ASSERT_EQ(QGenerateKey(session, name.c_str(), Q_ALG_AES_128, 0, &key), Q_OK);
                QDestroyKey(key, 0);
                const bool early = !snapshotAsked;  // acknowledged before the backup began
                std::lock_guard lock(mutex);
                if (early) acknowledged.push_back(name);
            }
            QCloseSession(&session, 0);
        });
    // The snapshot is asked for once the sessions are at work, not while they log in.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (bool working = false; !working && std::chrono::steady_clock::now() < deadline;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        std::lock_guard lock(mutex);
        working = acknowledged.size() >= 32;
    }
    snapshotAsked = true;
    const std::string file = files_.Path("hsm.bak");
    EXPECT_EQ(QBackupData(operator_, file.c_str(), kPassword, Q_BACKUP_CREATE), Q_OK);
    stop = true;
    for (std::thread &worker : workers)
        worker.join();
    ASSERT_GE(acknowledged.size(), 32u);

    SimProcess other;
    QSessionHandle restoring = OperatorOf(other);
    QSessionHandle bystander = OperatorOf(other);
    ASSERT_EQ(QBackupData(restoring, file.c_str(), kPassword, Q_BACKUP_RESTORE), Q_OK);
    // Until the restart: the other session is gone at once, its connection closed by the HSM
    // before it asks anything, and only liveness and information answer.
    for (int i = 0; i < 250 && ClosedByServer(other.port()) == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(ClosedByServer(other.port()), 1);
    EXPECT_EQ(QAdmOperation(bystander, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS),
              Q_ERR_CONNECTION_LOST);
    EXPECT_EQ(QAdmOperation(restoring, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS), Q_OK);
    (void)BackupPending(restoring);
    QKeyHandle key = 0;
    EXPECT_EQ(QGenerateKey(restoring, "after", Q_ALG_AES_128, 0, &key), Q_ERR_RESTART_REQUIRED);
    EXPECT_EQ(QBackupData(restoring, file.c_str(), kPassword, Q_BACKUP_RESTORE),
              Q_ERR_RESTART_REQUIRED);
    QCloseSession(&restoring, 0);
    QCloseSession(&bystander, 0);

    other.Restart();
    EXPECT_EQ(Query(other.dataDir(), "PRAGMA integrity_check"), "ok");
    QSessionHandle restored = OperatorOf(other);
    EXPECT_EQ(Kcv(restored, "before"), kcv);  // the source's master key came along
    for (const std::string &name : acknowledged) {
        QKeyHandle found = 0;
        ASSERT_EQ(QGetUserKey(restored, name.c_str(), 0, &found), Q_OK) << name;
        QDestroyKey(found, 0);
    }
    Generate(restored, "after");
    QCloseSession(&restored, 0);
}

TEST_F(BackupTest, AFaultyFileOrPasswordChangesNothing) {
    Generate(operator_, "kept");
    const std::string file = files_.Path("hsm.bak");
    ASSERT_EQ(QBackupData(operator_, file.c_str(), kPassword, Q_BACKUP_CREATE), Q_OK);
    EXPECT_EQ(BackupPending(operator_), 0u);
    Generate(operator_, "newer");
    EXPECT_EQ(BackupPending(operator_), 1u);

    const std::string good = ReadFileBytes(file);
    ASSERT_GT(good.size(), 200u);
    std::string tampered = good, newer = good;
    tampered[good.size() / 2] ^= 1;
    newer[11] = 2;  // the format version
    const struct {
        std::string bytes;
        const char *password;
        uint32_t status;
    } cases[] = {
        {good, "wrong-password", Q_ERR_BACKUP_PASSWORD},
        {tampered, kPassword, Q_ERR_BACKUP_DAMAGED},
        {good.substr(0, good.size() - 40), kPassword, Q_ERR_BACKUP_DAMAGED},
        {good.substr(0, 50), kPassword, Q_ERR_BACKUP_DAMAGED},
        {good + "x", kPassword, Q_ERR_BACKUP_DAMAGED},
        {newer, kPassword, Q_ERR_BACKUP_VERSION},
        {"SQLite format 3", kPassword, Q_ERR_NOT_A_BACKUP},
        {"", kPassword, Q_ERR_NOT_A_BACKUP},
    };
    const std::string faulty = files_.Path("faulty.bak");
    for (const auto &c : cases) {
        WriteFileBytes(faulty, c.bytes);
        EXPECT_EQ(QBackupData(operator_, faulty.c_str(), c.password, Q_BACKUP_RESTORE), c.status)
            << c.bytes.size();
    }
    EXPECT_EQ(QBackupData(operator_, files_.Path("missing").c_str(), kPassword, Q_BACKUP_RESTORE),
              Q_ERR_FILE);

    // Still serving, and a restart finds the same database with nothing left beside it.
    Generate(operator_, "meanwhile");
    QCloseSession(&operator_, 0);
    sim_.Restart();
    operator_ = OpenOperator();
    std::vector<std::string> names = List(operator_);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"kept", "meanwhile", "newer"}));
    for (const auto &entry : std::filesystem::directory_iterator(sim_.dataDir()))
        EXPECT_EQ(entry.path().filename().string().find(".restore"), std::string::npos)
            << entry.path();
}

TEST_F(BackupTest, ARestoreThatRunsOutOfRoomSaysSoKeepsTheOldDatabaseAndMayBeRetried) {
    Generate(operator_, "kept");
    const std::string small = files_.Path("small.bak");
    ASSERT_EQ(QBackupData(operator_, small.c_str(), kPassword, Q_BACKUP_CREATE), Q_OK);
    const std::string large = files_.Path("large.bak");
    {
        SimProcess big;
        ASSERT_EQ(big.Simctl({"add-keys", "master", "20000"}), 0);
        QSessionHandle session = OperatorOf(big);
        ASSERT_EQ(QBackupData(session, large.c_str(), kPassword, Q_BACKUP_CREATE), Q_OK);
        QCloseSession(&session, 0);
    }
    constexpr rlim_t kRoom = 3 << 20;
    ASSERT_GT(std::filesystem::file_size(large), 2 * kRoom);

    sim_.LimitFileSize(kRoom);
    EXPECT_EQ(QBackupData(operator_, large.c_str(), kPassword, Q_BACKUP_RESTORE),
              Q_ERR_STORAGE_FULL);
    sim_.LimitFileSize(RLIM_INFINITY);
    Generate(operator_, "meanwhile");
    for (const auto &entry : std::filesystem::directory_iterator(sim_.dataDir()))
        EXPECT_EQ(entry.path().filename().string().find(".restore"), std::string::npos)
            << entry.path();

    // The failed restore let go of the HSM's one restore slot.
    QCloseSession(&operator_, 0);
    ASSERT_EQ(RestoreAndRestart(sim_, small, Q_BACKUP_RESTORE), Q_OK);
    operator_ = OpenOperator();
    EXPECT_EQ(List(operator_), std::vector<std::string>{"kept"});
}

TEST_F(BackupTest, TheNetworkSettingsAndIpFilterComeFromTheFileOnlyWithFlagOne) {
    constexpr const char *kFilterEntries =
        "SELECT group_concat(host || ' ' || user_id) FROM ip_filter_entries";
    Query(sim_.dataDir(), "INSERT INTO network_settings VALUES ('address', '10.0.0.1')");
    ASSERT_EQ(
        QIPFilterOperation(operator_, Q_IPF_ADD, "alice", "10.0.0.2", nullptr, nullptr, nullptr, 0),
        Q_OK);
    Generate(operator_, "from-file");
    const std::string file = files_.Path("hsm.bak");
    ASSERT_EQ(QBackupData(operator_, file.c_str(), kPassword, Q_BACKUP_CREATE), Q_OK);

    SimProcess other;
    Query(other.dataDir(), "INSERT INTO network_settings VALUES ('address', '10.9.9.9')");
    Query(other.dataDir(), "INSERT INTO ip_filter_entries VALUES ('10.9.9.8', '')");
    ASSERT_EQ(RestoreAndRestart(other, file, Q_BACKUP_RESTORE_NO_NETWORK), Q_OK);
    EXPECT_EQ(
        Query(other.dataDir(), "SELECT group_concat(name || '=' || value) FROM network_settings"),
        "address=10.9.9.9");
    EXPECT_EQ(Query(other.dataDir(), kFilterEntries), "10.9.9.8 ");
    QSessionHandle session = OperatorOf(other);
    EXPECT_EQ(List(session), std::vector<std::string>{"from-file"});
    QCloseSession(&session, 0);

    ASSERT_EQ(RestoreAndRestart(other, file, Q_BACKUP_RESTORE), Q_OK);
    EXPECT_EQ(
        Query(other.dataDir(), "SELECT group_concat(name || '=' || value) FROM network_settings"),
        "address=10.0.0.1");
    EXPECT_EQ(Query(other.dataDir(), kFilterEntries), "10.0.0.2 alice");
    session = OperatorOf(other);
    EXPECT_EQ(List(session), std::vector<std::string>{"from-file"});
    QCloseSession(&session, 0);
}

}  // namespace
