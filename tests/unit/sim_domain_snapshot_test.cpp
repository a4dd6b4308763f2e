// A node too far behind takes the domain's shared tables whole from another node's image:
// in one transaction, rows that reference others included, and nothing of its own tables.

#include <gtest/gtest.h>

#include <filesystem>

#include "replication/domain_snapshot.h"
#include "replication/replication_journal.h"
#include "sql_column.h"
#include "store/schema.h"
#include "temp_dir.h"

namespace {

// Files in `dir` other than the two databases and SQLite's companions of them.
std::vector<std::string> OtherFiles(const TempDir &dir) {
    std::vector<std::string> others;
    for (const auto &entry : std::filesystem::directory_iterator(dir.path())) {
        const std::string name = entry.path().filename().string();
        const bool database = name.starts_with("from.db") || name.starts_with("to.db");
        if (!database || name.find(".node-image-") != std::string::npos) others.push_back(name);
    }
    return others;
}

// Takes `length` bytes of `image` as the taking node does, in small pieces.
bool Restore(sim::Database &to, const sim::SnapshotImage &image, uint64_t length) {
    sim::IncomingSnapshot incoming(to);
    while (incoming.size() < length)
        incoming.Append(
            image.Read(incoming.size(), std::min<uint64_t>(4096, length - incoming.size())));
    return incoming.Restore(to);
}

// `count` users named `prefix` and a number, each with its M of N row, in one transaction.
void AddUsers(sim::Database &db, const std::string &prefix, int count) {
    db.Execute("BEGIN");
    for (int i = 0; i < count; ++i) {
        const std::string id = prefix + std::to_string(10000 + i);
        db.Execute(("INSERT INTO users (id, password_hash, acl, password_changed) VALUES ('" + id +
                    "', 'hash', 1, 0)")
                       .c_str());
        db.Execute(
            ("INSERT INTO mofn_partitions VALUES ('" + id + "', 1, 0, 'set', 'none')").c_str());
    }
    db.Execute("COMMIT");
}

TEST(SimDomainSnapshot, ReplacesTheSharedTablesAndKeepsTheNodesOwn) {
    TempDir dir;
    sim::Database from({dir.Path("from.db"), {}}), to({dir.Path("to.db"), {}});
    sim::EnsureSchema(from, "OVFROM");
    sim::EnsureSchema(to, "OVTO");
    // More rows than one statement copies or deletes, on both sides.
    AddUsers(from, "alice", 2500);
    from.Execute("UPDATE security_policy SET word = 7");
    from.Execute("INSERT INTO network_settings VALUES ('gateway', 'theirs')");
    sim::RestartJournal(from, 42);
    AddUsers(to, "bob", 1500);
    to.Execute("INSERT INTO network_settings VALUES ('gateway', 'mine')");
    to.Execute("INSERT INTO replication_nodes (address) VALUES ('127.0.0.9')");
    sim::RecordChange(to, 7, "change");

    std::unique_ptr<sim::SnapshotImage> image = sim::SnapshotImage::Take(from);
    // The serving node's file lasts only as long as its descriptor.
    EXPECT_TRUE(OtherFiles(dir).empty());
    EXPECT_FALSE(Restore(to, *image, 100));
    EXPECT_EQ(Column(to, "SELECT count(*) FROM users WHERE id LIKE 'bob%'"), "1500");

    ASSERT_TRUE(Restore(to, *image, image->size()));
    EXPECT_EQ(Column(to, "SELECT count(*) FROM users"), "2500");
    EXPECT_EQ(Column(to, "SELECT min(id) || max(id) FROM users"), "alice10000alice12499");
    EXPECT_EQ(Column(to, "SELECT count(*) FROM mofn_partitions JOIN users ON user_id = id"),
              "2500");
    EXPECT_EQ(Column(to, "SELECT word FROM security_policy"), "7");
    EXPECT_EQ(sim::ReadSyncPoint(to), 42u);
    EXPECT_EQ(Column(to, "SELECT count(*) FROM replication_journal"), "0");
    EXPECT_EQ(Column(to, "SELECT value FROM network_settings"), "mine");
    EXPECT_EQ(Column(to, "SELECT address FROM replication_nodes"), "127.0.0.9");
    EXPECT_TRUE(OtherFiles(dir).empty());
}

TEST(SimDomainSnapshot, StartDeletesTheImagesACrashLeft) {
    TempDir dir;
    WriteFileBytes(dir.Path("to.db.node-image-Ab12Cd"), "sealed keys");
    WriteFileBytes(dir.Path("to.db.node-image-Ab12Cd-journal"), "");
    WriteFileBytes(dir.Path("to.db-wal"), "");
    sim::RemoveStaleSnapshots(dir.Path("to.db"));
    EXPECT_TRUE(OtherFiles(dir).empty());
    EXPECT_TRUE(std::filesystem::exists(dir.Path("to.db-wal")));
}

}  // namespace
