// Kills the simulator with SIGKILL at random moments while 16 sessions generate keys and
// create and remove users, and checks after every kill that no acknowledged write was lost
// and that no write was left half done.
//
// Usage: crash_consistency_test [KILLS]  (default 4)
//
// What half done means for each write:
// - a key: its row is whole (sealed material, a length) and its owner exists; every key has
//   the "Key generated" line of its transaction;
// - a user: it has its "created" line; once its removal was acknowledged, neither it nor any
//   object of its partition remains. A removal that was not acknowledged may have emptied the
//   partition and left the account: the account goes last so that removal can be retried.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "qelvoarc.h"
#include "sim_process.h"

namespace {

int g_kills = 4;
constexpr int kSessions = 16;
constexpr const char *kUserPassword = "Clerk#12345";

enum class State { kPending, kAcknowledged };

// What the sessions were told, shared by all of them.
struct Ledger {
    std::mutex mutex;
    std::map<std::string, State> masterKeys;  // name
    std::map<std::string, State> users;       // created
    std::map<std::string, State> userKeys;    // owner of key "p"
    std::map<std::string, State> removals;    // removed users
    std::atomic<uint64_t> acknowledged = 0;
    std::atomic<bool> killed = false;

    void Record(std::map<std::string, State> &set, const std::string &name, State state) {
        std::lock_guard lock(mutex);
        set[name] = state;
        if (state == State::kAcknowledged) ++acknowledged;
    }
};

// The database as the killed simulator left it, read before anything opens it again.
struct Snapshot {
    std::string integrity;
    std::set<std::string> users;
    std::map<std::pair<std::string, std::string>, bool> objects;  // (owner, name) -> whole
    int64_t masterKeyLines = 0;
    std::set<std::string> usersWithCreatedLine;
    std::map<std::string, int64_t> keyLinesByUser;
};

std::vector<std::vector<std::string>> Query(sqlite3 *db, const char *sql) {
    std::vector<std::vector<std::string>> rows;
    sqlite3_stmt *stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    while (stmt != nullptr && sqlite3_step(stmt) == SQLITE_ROW) {
        std::vector<std::string> row;
        for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
            const auto *text = sqlite3_column_text(stmt, i);
            row.emplace_back(text != nullptr ? reinterpret_cast<const char *>(text) : "");
        }
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(stmt);
    return rows;
}

// Field `n` of a line's text, seq|boot|time|user|operation|outcome; the users and operations
// this test makes hold no '|'.
std::string Field(const std::string &text, int n) {
    size_t start = 0;
    for (int i = 0; i < n; ++i)
        start = text.find('|', start) + 1;
    return text.substr(start, text.find('|', start) - start);
}

Snapshot ReadSnapshot(const std::string &dir) {
    Snapshot snapshot;
    sqlite3 *db = nullptr;
    const std::string uri = "file:" + dir + "/hsm.db?mode=ro";
    EXPECT_EQ(sqlite3_open_v2(uri.c_str(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr),
              SQLITE_OK);
    for (const auto &row : Query(db, "PRAGMA integrity_check"))
        snapshot.integrity += row[0];
    for (const auto &row : Query(db, "SELECT id FROM users"))
        snapshot.users.insert(row[0]);
    for (const auto &row :
         Query(db, "SELECT owner, name, sealed IS NOT NULL AND length > 0 FROM objects"))
        snapshot.objects[{row[0], row[1]}] = row[2] == "1";
    for (const auto &row :
         Query(db, "SELECT text FROM event_log WHERE text LIKE '%|Key generated%'"))
        ++snapshot.keyLinesByUser[Field(row[0], 3)];
    for (const auto &row :
         Query(db, "SELECT text FROM event_log WHERE text LIKE '%|User % created with ACL %'")) {
        const std::string line = Field(row[0], 4);
        snapshot.usersWithCreatedLine.insert(line.substr(5, line.find(" created") - 5));
    }
    sqlite3_close(db);
    return snapshot;
}

uint32_t Open(uint16_t port, const std::string &user, const std::string &password,
              QSessionHandle *session) {
    QPasswordLoginRecord record{};
    std::strcpy(record.address, "127.0.0.1");
    record.port = port;
    std::strncpy(record.userId, user.c_str(), sizeof record.userId - 1);
    std::strncpy(record.password, password.c_str(), sizeof record.password - 1);
    return QOpenSession(session, Q_LOGIN_PASSWORD, &record, sizeof record, Q_SESSION_TLS);
}

// One session's work until the simulator goes away: mostly keys in the operator's partition,
// sometimes a user with a key in its own partition, sometimes the removal of such a user.
void Work(int worker, uint16_t port, const std::string &operatorPassword, Ledger &ledger,
          std::vector<std::string> &ownUsers, int &sequence) {
    std::mt19937 random(static_cast<unsigned>(worker * 7919 + sequence));
    QSessionHandle session = 0;
    uint32_t status = Open(port, "master", operatorPassword, &session);
    while (status == Q_OK) {
        const int pick = static_cast<int>(random() % 10);
        const std::string id = std::to_string(worker) + "x" + std::to_string(++sequence);
        if (pick < 6) {
            const std::string name = "k" + id;
            ledger.Record(ledger.masterKeys, name, State::kPending);
            QKeyHandle key = 0;
            status = QGenerateKey(session, name.c_str(), Q_ALG_AES_256, 0, &key);
            if (status == Q_OK) {
                ledger.Record(ledger.masterKeys, name, State::kAcknowledged);
                (void)QDestroyKey(key, 0);
            }
        } else if (pick < 8 || ownUsers.empty()) {
            const std::string user = "u" + id;
            QUserRecord record{};
            std::strncpy(record.userId, user.c_str(), sizeof record.userId - 1);
            std::strncpy(record.password, kUserPassword, sizeof record.password - 1);
            ledger.Record(ledger.users, user, State::kPending);
            if ((status = QCreateUser(session, &record)) != Q_OK) break;
            ledger.Record(ledger.users, user, State::kAcknowledged);
            ownUsers.push_back(user);
            QSessionHandle own = 0;
            if ((status = Open(port, user, kUserPassword, &own)) != Q_OK) break;
            ledger.Record(ledger.userKeys, user, State::kPending);
            QKeyHandle key = 0;
            status = QGenerateKey(own, "p", Q_ALG_AES_256, 0, &key);
            if (status == Q_OK) {
                ledger.Record(ledger.userKeys, user, State::kAcknowledged);
                (void)QDestroyKey(key, 0);
            }
            (void)QCloseSession(&own, 0);
        } else {
            const std::string user = ownUsers[random() % ownUsers.size()];
            std::erase(ownUsers, user);
            ledger.Record(ledger.removals, user, State::kPending);
            status = QRemoveUser(session, user.c_str());
            if (status == Q_OK) ledger.Record(ledger.removals, user, State::kAcknowledged);
        }
    }
    // Anything but the kill stopping a session would leave the run testing less than it says.
    if (!ledger.killed) ADD_FAILURE() << "session " << worker << " failed: " << status;
    if (session != 0) (void)QCloseSession(&session, 0);
}

bool Acked(const std::map<std::string, State> &set, const std::string &name) {
    auto it = set.find(name);
    return it != set.end() && it->second == State::kAcknowledged;
}

// Checks the snapshot against the ledger and counts the acknowledged writes it lost. Pending
// writes are then settled by what the snapshot holds: from here on they are durable or gone.
int CheckAndSettle(const Snapshot &snapshot, Ledger &ledger) {
    int lost = 0;
    EXPECT_EQ(snapshot.integrity, "ok");
    for (const auto &[name, state] : ledger.masterKeys) {
        const bool present = snapshot.objects.contains({"master", name});
        if (state == State::kAcknowledged && !present) {
            ++lost;
            ADD_FAILURE() << "acknowledged key " << name << " lost";
        }
    }
    for (const auto &[user, state] : ledger.users) {
        const bool present = snapshot.users.contains(user);
        const bool removed = Acked(ledger.removals, user);
        const bool removing = ledger.removals.contains(user);
        if (state == State::kAcknowledged && !removing && !present) {
            ++lost;
            ADD_FAILURE() << "acknowledged user " << user << " lost";
        }
        if (removed && present) {
            ++lost;
            ADD_FAILURE() << "removed user " << user << " is back";
        }
        if (removed && snapshot.objects.contains({user, "p"})) {
            ++lost;
            ADD_FAILURE() << "removed user " << user << " left its key";
        }
        if (Acked(ledger.userKeys, user) && present && !removing &&
            !snapshot.objects.contains({user, "p"})) {
            ++lost;
            ADD_FAILURE() << "acknowledged key of user " << user << " lost";
        }
    }
    std::map<std::string, int64_t> keysByOwner;
    for (const auto &[object, whole] : snapshot.objects) {
        const auto &[owner, name] = object;
        ++keysByOwner[owner];
        EXPECT_TRUE(whole) << owner << "/" << name << " has no key material";
        EXPECT_TRUE(owner == "master" || snapshot.users.contains(owner))
            << owner << "/" << name << " belongs to no user";
    }
    // Keys are only added in this run, so every key still there has its line.
    const auto lines = [&](const std::string &user) {
        auto it = snapshot.keyLinesByUser.find(user);
        return it == snapshot.keyLinesByUser.end() ? 0 : it->second;
    };
    EXPECT_EQ(keysByOwner["master"], lines("master"));
    for (const std::string &user : snapshot.users) {
        EXPECT_LE(keysByOwner[user], lines(user)) << user;
        EXPECT_TRUE(user == "master" || snapshot.usersWithCreatedLine.contains(user)) << user;
    }

    const auto settle = [](std::map<std::string, State> &set, auto &&present) {
        for (auto it = set.begin(); it != set.end();) {
            if (it->second == State::kPending && !present(it->first)) {
                it = set.erase(it);
            } else {
                it->second = State::kAcknowledged;
                ++it;
            }
        }
    };
    settle(ledger.masterKeys, [&](const std::string &n) {
        return snapshot.objects.contains({"master", n});
    });
    settle(ledger.users, [&](const std::string &u) { return snapshot.users.contains(u); });
    settle(ledger.userKeys, [&](const std::string &u) {
        return snapshot.objects.contains({u, "p"});
    });
    // A removal that did not finish is retried by nobody: the user is kept, with its partition
    // as the kill left it.
    for (const auto &[user, state] : ledger.removals)
        if (state == State::kPending && !snapshot.objects.contains({user, "p"}))
            ledger.userKeys.erase(user);
    settle(ledger.removals, [&](const std::string &u) { return !snapshot.users.contains(u); });
    return lost;
}

}  // namespace

TEST(CrashConsistency, AcknowledgedWritesSurviveKillsAndNothingIsHalfDone) {
    SimProcess sim;
    ASSERT_NE(sim.port(), 0);
    ASSERT_EQ(QInitialize(0), Q_OK);
    Ledger ledger;
    std::vector<std::vector<std::string>> ownUsers(kSessions);
    std::vector<int> sequences(kSessions, 0);
    std::mt19937 random(std::random_device{}());
    int lost = 0;
    for (int kill = 0; kill < g_kills; ++kill) {
        std::vector<std::thread> workers;
        for (int w = 0; w < kSessions; ++w)
            workers.emplace_back(Work, w, sim.port(), sim.initPassword(), std::ref(ledger),
                                 std::ref(ownUsers[w]), std::ref(sequences[w]));
        // Killed once the sessions are at work, not while they log in.
        const uint64_t before = ledger.acknowledged;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (ledger.acknowledged < before + kSessions &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 1000));
        ledger.killed = true;
        sim.Kill();
        for (std::thread &worker : workers)
            worker.join();
        ledger.killed = false;

        lost += CheckAndSettle(ReadSnapshot(sim.dataDir()), ledger);
        const std::string verify =
            std::string(ORVENA_SIMCTL_PATH) + " verify-log --data " + sim.dataDir() + " >/dev/null";
        EXPECT_EQ(std::system(verify.c_str()), 0) << "the event log's chain is broken";
        // Removals pending at the kill leave users that belong to no one's list any more.
        for (auto &users : ownUsers)
            std::erase_if(users, [&](const std::string &u) { return !ledger.users.contains(u); });
        sim.Restart();
        ASSERT_NE(sim.port(), 0);
    }
    std::printf(
        "kills: %d, acknowledged writes: %llu, lost: %d (kept: %zu keys, %zu users, %zu "
        "user keys, %zu removals)\n",
        g_kills, static_cast<unsigned long long>(ledger.acknowledged.load()), lost,
        ledger.masterKeys.size(), ledger.users.size(), ledger.userKeys.size(),
        ledger.removals.size());
    EXPECT_EQ(QFinalize(), Q_OK);
}

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (argc > 1) g_kills = std::atoi(argv[1]);
    return RUN_ALL_TESTS();
}
