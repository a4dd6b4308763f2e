#include "replication/replication_journal.h"

#include <arpa/inet.h>

#include <algorithm>

namespace sim {

namespace {

uint32_t AddressValue(const std::string &address) {
    in_addr parsed{};
    inet_pton(AF_INET, address.c_str(), &parsed);
    return ntohl(parsed.s_addr);
}

// A row that is not as the change expects stops the whole change, with one exception: a
// delete whose row is gone already, because the change deletes a parent row first and the
// foreign key's cascade took the child.
int OnConflict(void *, int conflict, sqlite3_changeset_iter *iter) {
    const char *table = nullptr;
    int columns = 0, op = 0, indirect = 0;
    sqlite3changeset_op(iter, &table, &columns, &op, &indirect);
    if (conflict == SQLITE_CHANGESET_NOTFOUND && op == SQLITE_DELETE) return SQLITE_CHANGESET_OMIT;
    return SQLITE_CHANGESET_ABORT;
}

}  // namespace

bool AddressBefore(const std::string &a, const std::string &b) {
    return AddressValue(a) < AddressValue(b);
}

bool IsNodeAddress(const std::string &text) {
    in_addr parsed{};
    return inet_pton(AF_INET, text.c_str(), &parsed) == 1;
}

std::vector<NodeEntry> ReadNodes(Database &db) {
    std::vector<NodeEntry> nodes;
    Statement read(db, "SELECT address, down FROM replication_nodes");
    while (read.Step())
        nodes.push_back({read.Text(0), read.Int(1) != 0});
    std::sort(nodes.begin(), nodes.end(), [](const NodeEntry &a, const NodeEntry &b) {
        return AddressBefore(a.address, b.address);
    });
    return nodes;
}

bool AddNodeEntry(Database &db, const std::string &address) {
    Statement(db, "INSERT OR IGNORE INTO replication_nodes (address) VALUES (?)")
        .Bind(1, address)
        .Run();
    return sqlite3_changes(db.handle()) == 1;
}

bool RemoveNodeEntry(Database &db, const std::string &address) {
    Statement(db, "DELETE FROM replication_nodes WHERE address = ?").Bind(1, address).Run();
    return sqlite3_changes(db.handle()) == 1;
}

bool MarkNodeDown(Database &db, const std::string &address, bool down) {
    Statement(db, "UPDATE replication_nodes SET down = ? WHERE address = ?")
        .Bind(1, down ? 1 : 0)
        .Bind(2, address)
        .Run();
    return sqlite3_changes(db.handle()) == 1;
}

uint64_t ReadSyncPoint(Database &db) {
    Statement read(db, "SELECT sync_point FROM replication_state WHERE id = 1");
    return read.Step() ? static_cast<uint64_t>(read.Int(0)) : 0;
}

void RecordChange(Database &db, uint64_t sequence, const std::string &changeset) {
    Statement(db, "INSERT INTO replication_journal (sequence, changeset) VALUES (?, ?)")
        .Bind(1, static_cast<int64_t>(sequence))
        .BindBlob(2, changeset)
        .Run();
    Statement(db, "UPDATE replication_state SET sync_point = ? WHERE id = 1")
        .Bind(1, static_cast<int64_t>(sequence))
        .Run();
}

void BoundJournal(Database &db, uint64_t sequence, uint64_t everyNodeHas, uint64_t cap) {
    constexpr uint64_t kStride = 32;
    if (sequence % kStride != 0) return;
    const uint64_t through = std::max(everyNodeHas, sequence > cap ? sequence - cap : 0);
    Statement(db, "DELETE FROM replication_journal WHERE sequence <= ?")
        .Bind(1, static_cast<int64_t>(through))
        .Run();
}

void RestartJournal(Database &db, uint64_t syncPoint) {
    Statement(db, "DELETE FROM replication_journal").Run();
    Statement(db, "UPDATE replication_state SET sync_point = ? WHERE id = 1")
        .Bind(1, static_cast<int64_t>(syncPoint))
        .Run();
}

std::vector<JournalChange> ReadChangesAfter(Database &db, uint64_t syncPoint, uint32_t limit) {
    std::vector<JournalChange> changes;
    Statement read(db,
                   "SELECT sequence, changeset FROM replication_journal WHERE sequence > ? "
                   "ORDER BY sequence LIMIT ?");
    read.Bind(1, static_cast<int64_t>(syncPoint)).Bind(2, limit);
    while (read.Step())
        changes.push_back({static_cast<uint64_t>(read.Int(0)), read.Blob(1)});
    return changes;
}

bool ApplyChange(Database &db, const std::string &changeset) {
    // Whoever applies rolls the whole transaction back on failure, so the savepoint the
    // library would wrap around every change (two more statements parsed per change) is left
    // out.
    return sqlite3changeset_apply_v2(db.handle(), static_cast<int>(changeset.size()),
                                     const_cast<char *>(changeset.data()), nullptr, OnConflict,
                                     nullptr, nullptr, nullptr,
                                     SQLITE_CHANGESETAPPLY_NOSAVEPOINT) == SQLITE_OK;
}

}  // namespace sim
