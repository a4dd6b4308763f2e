// A node applies another node's change whole or not at all: a change that finds a row other
// than it expects is refused and leaves nothing in the transaction it was applied in, while a
// delete whose row a cascade took first is no conflict.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "replication/replication_journal.h"
#include "sql_column.h"
#include "store/schema.h"
#include "temp_dir.h"

namespace {

// The change `sql` makes to the accounts on `db`, captured as a coordinator captures it.
std::string ChangeOf(sim::Database &db, const char *sql) {
    sqlite3_session *session = nullptr;
    EXPECT_EQ(sqlite3session_create(db.handle(), "main", &session), SQLITE_OK);
    for (const char *table : {"users", "mofn_partitions"})
        EXPECT_EQ(sqlite3session_attach(session, table), SQLITE_OK);
    db.Execute(sql);
    int size = 0;
    void *bytes = nullptr;
    EXPECT_EQ(sqlite3session_changeset(session, &size, &bytes), SQLITE_OK);
    std::string change(static_cast<const char *>(bytes), static_cast<size_t>(size));
    sqlite3_free(bytes);
    sqlite3session_delete(session);
    return change;
}

constexpr const char *kAccounts = "SELECT id || ':' || password_hash FROM users ORDER BY id";

class SimReplicationJournal : public ::testing::Test {
  protected:
    void SetUp() override {
        sim::EnsureSchema(from_, "OVFROM");
        sim::EnsureSchema(to_, "OVTO");
    }

    TempDir dir_;
    sim::Database from_{{dir_.Path("from.db"), {}}}, to_{{dir_.Path("to.db"), {}}};
};

TEST_F(SimReplicationJournal, AChangeThatFindsARowNotAsExpectedLeavesNothing) {
    to_.Execute(
        "INSERT INTO users (id, password_hash, acl, password_changed) "
        "VALUES ('carol', 'hers', 1, 0)");
    const std::string change = ChangeOf(
        from_,
        "INSERT INTO users (id, password_hash, acl, password_changed) VALUES "
        "('alice', 'a', 1, 0), ('bob', 'b', 1, 0), ('carol', 'c', 1, 0), ('dave', 'd', 1, 0)");
    {
        sim::Transaction refused(to_);
        EXPECT_FALSE(sim::ApplyChange(to_, change));
    }
    EXPECT_EQ(Column(to_, kAccounts), "carol:hers");

    to_.Execute("DELETE FROM users");
    sim::Transaction taken(to_);
    EXPECT_TRUE(sim::ApplyChange(to_, change));
    taken.Commit();
    EXPECT_EQ(Column(to_, kAccounts), "alice:a,bob:b,carol:c,dave:d");
}

TEST_F(SimReplicationJournal, ADeleteWhoseRowACascadeTookIsNoConflict) {
    for (sim::Database *db : {&from_, &to_})
        db->Execute(
            "INSERT INTO users (id, password_hash, acl, password_changed) "
            "VALUES ('erin', 'e', 1, 0);"
            "INSERT INTO mofn_partitions VALUES ('erin', 1, 0, 'set', 'none')");
    const std::string change = ChangeOf(from_, "DELETE FROM users WHERE id = 'erin'");
    sim::Transaction tx(to_);
    EXPECT_TRUE(sim::ApplyChange(to_, change));
    tx.Commit();
    EXPECT_EQ(Column(to_, "SELECT count(*) FROM users"), "0");
    EXPECT_EQ(Column(to_, "SELECT count(*) FROM mofn_partitions"), "0");
}

}  // namespace
