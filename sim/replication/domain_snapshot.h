#pragma once
// A full copy of the tables a replication domain shares, for a node too far behind for the
// journal: the node serving it copies them into a database file of its own in one read
// transaction and sends that file; the node taking it writes it to a file, then replaces its
// own tables from it in one transaction. Neither side holds more of it in memory than a piece
// and SQLite's page cache, whatever the domain's size. Each node's own tables (event logs,
// network settings, cloud binding, the replication tables) are neither sent nor touched.
//
// The files lie beside the database (they hold sealed keys and password hashes, so they are
// the owner's alone) and never outlive their object; RemoveStaleSnapshots clears what a crash
// left behind.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "store/database.h"

namespace sim {

// The shared tables, every referenced table before the tables that reference it.
extern const char *const kSharedTables[];
extern const size_t kSharedTableCount;
bool IsSharedTable(std::string_view table);

// The image of the shared tables and of the sync point they stand at, as the serving node
// holds it: a file already unlinked, so that it goes when the descriptor closes.
class SnapshotImage {
  public:
    // REQUIRES: no transaction is open on `db`. Throws StoreError (StorageFull when the disk
    // has no room for the copy).
    static std::unique_ptr<SnapshotImage> Take(Database &db);
    ~SnapshotImage();
    SnapshotImage(const SnapshotImage &) = delete;
    SnapshotImage &operator=(const SnapshotImage &) = delete;

    uint64_t size() const { return size_; }
    // Up to `length` bytes from `offset` (fewer at the end). Throws StoreError.
    std::string Read(uint64_t offset, size_t length) const;

  private:
    SnapshotImage(int fd, uint64_t size) : fd_(fd), size_(size) {}
    int fd_;
    uint64_t size_;
};

// An image as the taking node receives it, piece by piece, into a file beside `db`'s own that
// is deleted with this object.
class IncomingSnapshot {
  public:
    // Throws StoreError when the file cannot be made.
    explicit IncomingSnapshot(Database &db);
    ~IncomingSnapshot();
    IncomingSnapshot(const IncomingSnapshot &) = delete;
    IncomingSnapshot &operator=(const IncomingSnapshot &) = delete;

    uint64_t size() const { return size_; }
    // Throws StoreError (StorageFull when the disk has no room).
    void Append(std::string_view piece);
    // Replaces the shared tables of `db` from the image (taken by a node of the same schema)
    // and takes its sync point, with an empty journal. False, with nothing changed, when the
    // image is not one. REQUIRES: no transaction is open on `db`; called once, after the last
    // piece.
    bool Restore(Database &db);

  private:
    std::string path_;
    int fd_ = -1;
    uint64_t size_ = 0;
};

// Deletes the images a crash left beside the database at `databasePath`. REQUIRES: no image
// of this database is in use.
void RemoveStaleSnapshots(const std::string &databasePath);

}  // namespace sim
