// Kills the simulator with SIGKILL at random moments of a restore and checks that each start
// afterwards finds either the database it had or the restored one, whole, with the master key
// that opens its keys.
//
// Usage: restore_crash_test [KILLS]  (default 20)
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>

#include "qelvoarc.h"
#include "sim_process.h"
#include "temp_dir.h"

namespace {

int g_kills = 20;
constexpr const char *kPassword = "crash-test-pass";
// The two databases: many keys named a<n>, or a few named b<n>.
constexpr int kKeysA = 20000;
constexpr int kKeysB = 10;

enum class Content { kA, kB, kNeither };

// A session of the operator; 0 when none opened (the kill may come first).
QSessionHandle OperatorOf(const SimProcess &sim) {
    QPasswordLoginRecord record{};
    std::snprintf(record.address, sizeof record.address, "127.0.0.1");
    record.port = sim.port();
    std::snprintf(record.userId, sizeof record.userId, "master");
    std::snprintf(record.password, sizeof record.password, "%s", sim.initPassword().c_str());
    record.authMode = Q_AUTH_PASSWORD;
    QSessionHandle session = 0;
    (void)QOpenSession(&session, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_TLS);
    return session;
}

uint32_t Backup(const SimProcess &sim, const std::string &file, uint32_t flags) {
    QSessionHandle session = OperatorOf(sim);
    if (session == 0) return Q_ERR_CONNECT;
    const uint32_t status = QBackupData(session, file.c_str(), kPassword, flags);
    QCloseSession(&session, 0);
    return status;
}

int64_t Count(sqlite3 *db, const char *sql) {
    sqlite3_stmt *stmt = nullptr;
    int64_t count = -1;
    if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW)
        count = sqlite3_column_int64(stmt, 0);
    sqlite3_finalize(stmt);
    return count;
}

// What the running simulator holds: its file checked whole, and one key of it usable.
Content Inspect(const SimProcess &sim) {
    sqlite3 *db = nullptr;
    EXPECT_EQ(
        sqlite3_open_v2((sim.dataDir() + "/hsm.db").c_str(), &db, SQLITE_OPEN_READONLY, nullptr),
        SQLITE_OK);
    sqlite3_stmt *check = nullptr;
    std::string integrity;
    if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr) == SQLITE_OK &&
        sqlite3_step(check) == SQLITE_ROW)
        integrity = reinterpret_cast<const char *>(sqlite3_column_text(check, 0));
    sqlite3_finalize(check);
    EXPECT_EQ(integrity, "ok");
    const int64_t a = Count(db, "SELECT count(*) FROM objects WHERE name LIKE 'a%'");
    const int64_t b = Count(db, "SELECT count(*) FROM objects WHERE name LIKE 'b%'");
    sqlite3_close(db);
    const Content content = a == kKeysA && b == 0   ? Content::kA
                            : a == 0 && b == kKeysB ? Content::kB
                                                    : Content::kNeither;
    EXPECT_NE(content, Content::kNeither) << a << " a-keys, " << b << " b-keys";
    QSessionHandle session = OperatorOf(sim);
    EXPECT_NE(session, 0u);
    uint8_t kcv[8];
    uint32_t length = sizeof kcv;
    EXPECT_EQ(QEFTGetKcv(session, content == Content::kA ? "a0" : "b0", Q_KCV_FORMAT_KCV, kcv,
                         &length, 0),
              Q_OK)
        << "the master key does not open the database's keys";
    QCloseSession(&session, 0);
    return content;
}

}  // namespace

TEST(RestoreCrash, EveryStartFindsTheOldOrTheNewDatabaseWhole) {
    ASSERT_EQ(QInitialize(0), Q_OK);
    TempDir files;
    const std::string fileA = files.Path("a.bak"), fileB = files.Path("b.bak");
    {
        SimProcess source;
        ASSERT_EQ(source.Simctl({"add-keys", "master", std::to_string(kKeysA), "--prefix", "a"}),
                  0);
        ASSERT_EQ(Backup(source, fileA, Q_BACKUP_CREATE), Q_OK);
    }
    SimProcess sim;
    ASSERT_EQ(sim.Simctl({"add-keys", "master", std::to_string(kKeysB), "--prefix", "b"}), 0);
    ASSERT_EQ(Backup(sim, fileB, Q_BACKUP_CREATE), Q_OK);

    // How long a whole restore takes sets the window the kills fall in.
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Backup(sim, fileA, Q_BACKUP_RESTORE), Q_OK);
    const auto took = std::chrono::steady_clock::now() - start;
    sim.Restart();
    Content content = Inspect(sim);
    ASSERT_EQ(content, Content::kA);

    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int64_t> moment(
        0, std::chrono::duration_cast<std::chrono::microseconds>(took).count() * 5 / 4);
    int changed = 0;
    for (int kill = 0; kill < g_kills; ++kill) {
        const std::string &other = content == Content::kA ? fileB : fileA;
        std::thread restore([&] { (void)Backup(sim, other, Q_BACKUP_RESTORE); });
        std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
        sim.Kill();
        restore.join();
        sim.Restart();
        ASSERT_NE(sim.port(), 0);
        const Content now = Inspect(sim);
        if (now != content) ++changed;
        content = now;
    }
    std::printf("kills: %d, restores that took effect: %d\n", g_kills, changed);
    EXPECT_EQ(QFinalize(), Q_OK);
}

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (argc > 1) g_kills = std::atoi(argv[1]);
    return RUN_ALL_TESTS();
}
