// A node too far behind takes the domain's shared tables whole from another node's image:
// in one transaction, rows that reference others included, and nothing of its own tables.

#include <gtest/gtest.h>

#include "replication/domain_snapshot.h"
#include "replication/replication_journal.h"
#include "store/schema.h"
#include "temp_dir.h"

namespace {

std::string Column(sim::Database &db, const char *sql) {
    sim::Statement read(db, sql);
    std::string values;
    while (read.Step())
        values += (values.empty() ? "" : ",") + read.Text(0);
    return values;
}

void AddUser(sim::Database &db, const std::string &id) {
    db.Execute(("INSERT INTO users (id, password_hash, acl, password_changed) VALUES ('" + id +
                "', 'hash', 1, 0)")
                   .c_str());
    db.Execute(("INSERT INTO mofn_partitions VALUES ('" + id + "', 1, 0, 'set', 'none')").c_str());
}

TEST(SimDomainSnapshot, ReplacesTheSharedTablesAndKeepsTheNodesOwn) {
    TempDir dir;
    sim::Database from({dir.Path("from.db"), {}}), to({dir.Path("to.db"), {}});
    sim::EnsureSchema(from, "OVFROM");
    sim::EnsureSchema(to, "OVTO");
    AddUser(from, "alice");
    from.Execute("UPDATE security_policy SET word = 7");
    from.Execute("INSERT INTO network_settings VALUES ('gateway', 'theirs')");
    sim::RestartJournal(from, 42);
    AddUser(to, "bob");
    to.Execute("INSERT INTO network_settings VALUES ('gateway', 'mine')");
    to.Execute("INSERT INTO replication_nodes (address) VALUES ('127.0.0.9')");
    sim::RecordChange(to, 7, "change");

    std::string image = sim::TakeSnapshot(from);
    std::string garbage = image.substr(0, 100);
    EXPECT_FALSE(sim::RestoreSnapshot(to, garbage));
    EXPECT_EQ(Column(to, "SELECT id FROM users"), "bob");

    ASSERT_TRUE(sim::RestoreSnapshot(to, image));
    EXPECT_EQ(Column(to, "SELECT id FROM users"), "alice");
    EXPECT_EQ(Column(to, "SELECT user_id FROM mofn_partitions"), "alice");
    EXPECT_EQ(Column(to, "SELECT word FROM security_policy"), "7");
    EXPECT_EQ(sim::ReadSyncPoint(to), 42u);
    EXPECT_EQ(Column(to, "SELECT count(*) FROM replication_journal"), "0");
    EXPECT_EQ(Column(to, "SELECT value FROM network_settings"), "mine");
    EXPECT_EQ(Column(to, "SELECT address FROM replication_nodes"), "127.0.0.9");
}

}  // namespace
