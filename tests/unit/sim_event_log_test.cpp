// The event log's chain as verify-log sees it (in the database and in an exported file),
// its counters across restarts, the upgrade of a database older than the chain, and who and
// what its lines name.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "sim_hsm_fixture.h"
#include "store/event_log_file.h"
#include "store/schema.h"

namespace {

constexpr const char *kSerial = "OV12345678";

TEST(SimEventChain, CanonicalTextEscapesWhatCouldForgeAFieldOrALine) {
    sim::EventLine line{7, 2, 1714555800, "alice", "Key generated (algorithm 9): k|1", "ok"};
    EXPECT_EQ(sim::CanonicalText(line),
              "7|2|2024-05-01T09:30:00Z|alice|Key generated (algorithm 9): k\\|1|ok");
    sim::EventLine shifted{7, 2, 1714555800, "alice|Key generated (algorithm 9): k", "1", "ok"};
    EXPECT_NE(sim::CanonicalText(line), sim::CanonicalText(shifted));
    EXPECT_EQ(sim::EscapeField("a\\b\nc\x7f"), "a\\\\b\\x0ac\\x7f");
    std::string back;
    ASSERT_TRUE(sim::UnescapeField("a\\\\b\\x0ac\\x7f", &back));
    EXPECT_EQ(back, "a\\b\nc\x7f");
    EXPECT_FALSE(sim::UnescapeField("\\x41", &back));  // not how EscapeField writes "A"
}

// How one line of the log is damaged: in the database, and in an exported file.
struct Damage {
    const char *name;
    const char *sql;
    void (*edit)(std::vector<std::string> *lines);  // lines[0] the header, [1] the anchor
    int64_t firstBad;
};

void PrintTo(const Damage &damage, std::ostream *out) {
    *out << damage.name;
}

class SimEventLogDamage : public ::testing::TestWithParam<Damage> {
  protected:
    // Five lines: the daemon's start, two users, a key, a policy.
    SimEventLogDamage() {
        sim::SystemClock clock;
        sim::DataDirectory data(dir_.path(), clock, kSerial);
        EXPECT_EQ(data.events().Boot(), 1);
        EXPECT_EQ(data.users().AddUser(sim::Actor::Daemon(), "alice", "hash", 0), sim::Result::kOk);
        EXPECT_EQ(data.users().AddUser(sim::Actor::Daemon(), "bob", "hash", 0), sim::Result::kOk);
        sim::StoredObject key;
        key.owner = "alice";
        key.name = "k|1";
        EXPECT_EQ(data.keys().Insert(sim::Actor::User("alice"), &key, "Key generated"),
                  sim::Result::kOk);
        data.policy().Save(sim::Actor::Daemon(), sim::PasswordPolicy{});
    }

    std::vector<std::string> ExportedLines(int64_t count = 5) {
        sim::Database db({dir_.Path("hsm.db"), {}});
        std::stringstream file;
        EXPECT_EQ(sim::ExportEventLog(db, file), count);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    static sim::ChainReport VerifyFile(const std::vector<std::string> &lines) {
        std::stringstream file;
        for (const std::string &line : lines)
            file << line << '\n';
        return sim::VerifyEventLogFile(file);
    }

    sim::ChainReport VerifyDatabase() {
        sim::Database db({dir_.Path("hsm.db"), {}});
        return sim::VerifyEventLog(db);
    }

    TempDir dir_;
};

TEST_P(SimEventLogDamage, VerifyNamesTheFirstBadLineInTheDatabaseAndInAnExport) {
    std::vector<std::string> lines = ExportedLines();
    ASSERT_EQ(lines.size(), 7u);
    sim::ChainReport whole = VerifyFile(lines);
    EXPECT_TRUE(whole.whole) << whole.problem;
    EXPECT_EQ(whole.lines, 5);
    EXPECT_TRUE(VerifyDatabase().whole);

    GetParam().edit(&lines);
    sim::ChainReport file = VerifyFile(lines);
    EXPECT_FALSE(file.whole);
    EXPECT_EQ(file.firstBad, GetParam().firstBad) << file.problem;

    sim::Database(sim::DatabaseFile{dir_.Path("hsm.db"), {}}).Execute(GetParam().sql);
    sim::ChainReport database = VerifyDatabase();
    EXPECT_FALSE(database.whole);
    EXPECT_EQ(database.firstBad, GetParam().firstBad) << database.problem;
}

INSTANTIATE_TEST_SUITE_P(
    Lines, SimEventLogDamage,
    ::testing::Values(
        Damage{"Tampered",
               "UPDATE event_log SET text = replace(text, '||User bob', '|mallory|User bob') "
               "WHERE seq = 3",
               [](std::vector<std::string> *lines) {
                   std::string &line = (*lines)[4];
                   line.replace(line.find("||User bob"), 2, "|mallory|");
               },
               3},
        Damage{"Removed", "DELETE FROM event_log WHERE seq = 3",
               [](std::vector<std::string> *lines) { lines->erase(lines->begin() + 4); }, 3},
        Damage{"Reordered",
               "UPDATE event_log SET seq = -seq WHERE seq IN (3, 4);"
               "UPDATE event_log SET seq = 7 + seq WHERE seq < 0",
               [](std::vector<std::string> *lines) { std::swap((*lines)[4], (*lines)[5]); }, 3},
        Damage{"CutAtTheEnd", "DELETE FROM event_log WHERE seq = 5",
               [](std::vector<std::string> *lines) { lines->pop_back(); }, 5}),
    [](const ::testing::TestParamInfo<Damage> &instance) {
        return std::string(instance.param.name);
    });

TEST_F(SimEventLogDamage, BootCounterAndSequenceContinueAfterReopening) {
    sim::SystemClock clock;
    // Another serial on the command line does not move the start of an existing chain.
    sim::DataDirectory data(dir_.path(), clock, "OV99999999");
    EXPECT_EQ(data.events().Boot(), 2);
    std::vector<std::string> lines = ExportedLines(6);
    EXPECT_EQ(lines[0], std::string("orvena-event-log 2 6 ") + kSerial);
    // After its hash and a space: the sequence continues, under the new boot.
    EXPECT_EQ(lines[7].substr(65, 4), "6|2|");
    EXPECT_NE(lines[7].find("|HSM started|"), std::string::npos) << lines[7];
    EXPECT_TRUE(VerifyFile(lines).whole);
}

class SimEventLogActor : public SimHsm {
  protected:
    // Each line as "user | operation".
    std::vector<std::string> Lines() {
        sim::Database db({dir_.Path("hsm.db"), {}});
        sim::Statement st(db, "SELECT text FROM event_log ORDER BY seq");
        std::vector<std::string> lines;
        while (st.Step()) {
            // seq|boot|time|user|operation|outcome; these names and operations hold no '|'.
            std::string text = st.Text(0);
            size_t user = text.find('|', text.find('|', text.find('|') + 1) + 1) + 1;
            size_t operation = text.find('|', user) + 1;
            lines.push_back(text.substr(user, operation - 1 - user) + " | " +
                            text.substr(operation, text.rfind('|') - operation));
        }
        return lines;
    }
};

TEST_F(SimEventLogActor, ChangesToAnotherAccountNameTheActorAsUserAndTheTargetInTheOperation) {
    AddUser("op", "Secret#123", wire::pb::ACL_OPERATOR);
    AddUser("dave", "Secret#123", 0);
    sim::StoredObject key;
    key.owner = "dave";
    key.name = "k1";
    ASSERT_EQ(data_.keys().Insert(sim::Actor::User("dave"), &key, "Key generated: k1"),
              sim::Result::kOk);
    wire::pb::Request acl, password, remove;
    acl.mutable_set_user_acl()->set_user("dave");
    acl.mutable_set_user_acl()->set_acl(wire::pb::ACL_LIST_USERS);
    password.mutable_set_user_password()->set_user("dave");
    password.mutable_set_user_password()->set_password("Secret#456");
    remove.mutable_remove_user()->set_user("dave");
    sim::ConnectionState op = SessionOf("op");
    for (const wire::pb::Request &request : {acl, password, remove})
        EXPECT_EQ(Send(op, request).status(), wire::OK) << request.ShortDebugString();
    EXPECT_EQ(Lines(),
              (std::vector<std::string>{
                  " | User op created with ACL 0x00000080",
                  " | User dave created with ACL 0x00000000", "dave | Key generated: k1",
                  "op | ACL of dave set to 0x00000040", "op | Password of dave changed",
                  "op | Objects removed: 1 (partition of dave)", "op | User dave removed"}));
}

TEST(SimEventLog, DatabaseOfTheFirstReleaseIsUpgradedAndANewerOneRefused) {
    TempDir dir;
    {
        // What the first release left: its version-1 tables (those the upgrade touches) and
        // the objects table as the key store made it before its later columns.
        sim::Database old({dir.Path("hsm.db"), {}});
        old.Execute(R"sql(
CREATE TABLE event_log (seq INTEGER PRIMARY KEY AUTOINCREMENT, time INTEGER NOT NULL,
                        user_id TEXT NOT NULL, text TEXT NOT NULL);
CREATE INDEX event_log_time ON event_log(time);
INSERT INTO event_log (time, user_id, text) VALUES (1700000000, 'master', 'User created'),
                                                   (1700000060, 'alice', 'Login failed (x|y)');
CREATE TABLE objects (id INTEGER PRIMARY KEY AUTOINCREMENT, owner TEXT NOT NULL,
    name TEXT NOT NULL, kind INTEGER NOT NULL, algorithm INTEGER NOT NULL,
    attributes INTEGER NOT NULL, length INTEGER NOT NULL, sealed BLOB, public_exponent BLOB,
    created INTEGER NOT NULL, label TEXT NOT NULL DEFAULT '', target TEXT NOT NULL DEFAULT '',
    target_type INTEGER NOT NULL DEFAULT 0, second TEXT NOT NULL DEFAULT '',
    second_type INTEGER NOT NULL DEFAULT 0, p11_label TEXT NOT NULL DEFAULT '',
    UNIQUE (owner, name));
INSERT INTO objects (owner, name, kind, algorithm, attributes, length, created)
    VALUES ('alice', 'old', 1, 9, 0, 32, 1700000000);
CREATE TABLE users (id TEXT PRIMARY KEY, password_hash TEXT NOT NULL, acl INTEGER NOT NULL,
    blocked INTEGER NOT NULL DEFAULT 0, failed_logins INTEGER NOT NULL DEFAULT 0,
    password_changed INTEGER NOT NULL, certificate BLOB);
CREATE TABLE oath_tokens (user_id TEXT PRIMARY KEY, kind INTEGER NOT NULL,
    sealed_seed BLOB NOT NULL, counter INTEGER NOT NULL, step INTEGER NOT NULL,
    start_time INTEGER NOT NULL);
CREATE TABLE access_tokens (secret_hash BLOB PRIMARY KEY, user_id TEXT NOT NULL,
    expires INTEGER NOT NULL, revoked INTEGER NOT NULL DEFAULT 0);
CREATE TABLE password_policy (id INTEGER PRIMARY KEY, invalid_logins INTEGER NOT NULL,
    expiry_days INTEGER NOT NULL, min_length INTEGER NOT NULL, specials INTEGER NOT NULL,
    uppercase INTEGER NOT NULL, lowercase INTEGER NOT NULL);
INSERT INTO password_policy VALUES (1, 0, 0, 8, 0, 0, 0);
PRAGMA user_version = 1;
)sql");
    }
    sim::SystemClock clock;
    {
        sim::DataDirectory data(dir.path(), clock, kSerial);
        std::optional<sim::StoredObject> old = data.keys().Find("alice", "old", false);
        ASSERT_TRUE(old);
        EXPECT_FALSE(old->blocked);
        EXPECT_TRUE(data.keys().Find("alice", "old", true)->sealed.empty());
        EXPECT_EQ(data.keys().SetBlocked(sim::Actor::User("alice"), *old, true), sim::Result::kOk);
        EXPECT_TRUE(data.keys().Find("alice", "old", false)->blocked);
    }
    // Upgraded to the schema a new data directory gets, whatever its step count.
    TempDir fresh;
    { sim::DataDirectory data(fresh.path(), clock, kSerial); }
    auto userVersion = [](sim::Database &db) {
        sim::Statement version(db, "PRAGMA user_version");
        return version.Step() ? version.Int(0) : -1;
    };
    sim::Database db({dir.Path("hsm.db"), {}});
    sim::Database newest({fresh.Path("hsm.db"), {}});
    EXPECT_EQ(userVersion(db), userVersion(newest));
    std::stringstream file;
    EXPECT_EQ(sim::ExportEventLog(db, file), 3);
    std::string header, anchor, first, second;
    std::getline(std::getline(std::getline(std::getline(file, header), anchor), first), second);
    EXPECT_EQ(header, std::string("orvena-event-log 2 3 ") + kSerial);
    // The chain's start, dated as the first line, stands before the lines carried over.
    EXPECT_EQ(anchor.substr(65), std::string("0|0|2023-11-14T22:13:20Z||Log start|") + kSerial);
    // Each after its hash and a space: old lines keep their text, with boot 0, no outcome.
    EXPECT_EQ(first.substr(65), "1|0|2023-11-14T22:13:20Z|master|User created|");
    EXPECT_EQ(second.substr(65), "2|0|2023-11-14T22:14:20Z|alice|Login failed (x\\|y)|");
    EXPECT_TRUE(sim::VerifyEventLog(db).whole);

    db.Execute("PRAGMA user_version = 99");
    EXPECT_THROW(sim::DataDirectory(dir.path(), clock, kSerial), sim::StoreError);
}

}  // namespace
