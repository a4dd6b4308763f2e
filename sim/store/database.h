#pragma once
// Thin RAII layer over SQLite. Failures throw StoreError carrying SQLite's message, so no
// caller can drop a cause on the floor; the dispatcher turns them into ERR_INTERNAL.

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace sim {

class StoreError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The disk, or the file-size limit, left no room for a write. The change it was part of
// did not happen; the operator can free room and try again.
class StorageFull : public StoreError {
  public:
    using StoreError::StoreError;
};
class CommitHook;

// Where a connection opens: the file, and the SQLite VFS that reaches it (empty: SQLite's
// default). Tests name a VFS that can fail writes, the way they hand in a clock.
struct DatabaseFile {
    std::string path;
    std::string vfs;
    CommitHook *hook = nullptr;  // consulted by every write transaction; must outlive them
    // A file nobody else reads and a crash throws away (a restore being prepared): its
    // transactions keep their undo log in memory and never sync, so the one who made it
    // syncs it once when it is done.
    bool scratch = false;
};

// One connection. Not thread-safe: callers serialise access (see UserStore).
class Database {
  public:
    // Opens or creates the file in WAL mode with synchronous=FULL (scratch files: see there).
    explicit Database(const DatabaseFile &file);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    // Compiles the statements of `sql` anew each time: for scripts and one-off statements.
    void Execute(const char *sql);
    // Runs one statement without parameters, compiled once (as Acquire): a COMMIT whose
    // failure is the caller's to handle. False, with the connection's error message set.
    // Statement(db, sql).Run() is the throwing form.
    bool TryRun(const char *sql);
    sqlite3 *handle() const { return db_; }
    CommitHook *hook() const { return hook_; }

    // Statements are compiled once per text and kept: compiling costs more than running the
    // short queries of a request. Acquire hands out the idle one (or a new one when it is in
    // use, e.g. nested); Release resets it and keeps one per text.
    sqlite3_stmt *Acquire(const char *sql);
    void Release(sqlite3_stmt *stmt);

  private:
    sqlite3 *db_ = nullptr;
    CommitHook *hook_ = nullptr;
    std::unordered_map<std::string, sqlite3_stmt *> idle_;
};

// A prepared statement borrowed from its database; parameters are bound by 1-based index.
class Statement {
  public:
    Statement(Database &db, const char *sql);
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    Statement &Bind(int index, int64_t value);
    Statement &Bind(int index, std::string_view text);  // bound as TEXT
    Statement &BindBlob(int index, std::string_view bytes);
    Statement &BindNull(int index);

    // Advances to the next row; false when done.
    bool Step();
    // Runs a statement that returns no rows.
    void Run();

    int64_t Int(int column) const;
    std::string Text(int column) const;
    std::string Blob(int column) const;
    // The same without a copy, valid until the next Step; for rows read by the thousand.
    std::string_view TextView(int column) const;
    std::string_view BlobView(int column) const;

  private:
    Database &db_;
    sqlite3_stmt *stmt_ = nullptr;
};

// What a committed change may still wait for: the other nodes of a replication domain
// confirming it. A store awaits it after releasing its own lock, so that its next change is
// under way meanwhile. One never awaited is awaited when it goes, and its refusal dropped.
class Confirmation {
  public:
    Confirmation() = default;
    Confirmation(CommitHook *hook, uint64_t ticket) : hook_(hook), ticket_(ticket) {}
    Confirmation(Confirmation &&other) noexcept
        : hook_(std::exchange(other.hook_, nullptr)), ticket_(other.ticket_) {}
    Confirmation &operator=(Confirmation &&) = delete;
    ~Confirmation();

    // Throws CommitRefused when the change is durable here but not known to be on every node.
    void Await();

  private:
    CommitHook *hook_ = nullptr;
    uint64_t ticket_ = 0;
};

// BEGIN IMMEDIATE on construction (kRead: a plain BEGIN, one snapshot for several reads
// that lets writers go on); rolls back unless committed. A write transaction on a database
// with a commit hook records its changes and lets the hook pass them before COMMIT.
class Transaction {
  public:
    enum Kind { kWrite, kRead };
    explicit Transaction(Database &db, Kind kind = kWrite);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    // Commits, and waits until every node of the domain has the change.
    void Commit() { CommitUnconfirmed().Await(); }
    // Commits here; the other nodes' confirmation is the caller's to await.
    [[nodiscard]] Confirmation CommitUnconfirmed();

  private:
    Database &db_;
    sqlite3_session *changes_ = nullptr;
    bool done_ = false;
};

// SQLite's companions of a database file (the log and its index); "-journal" is there only
// while a transaction of a rollback-journal file runs, or after a crash in one.
extern const char *const kDatabaseCompanions[3];

// Deletes the database file at `path` and whichever of its companions exist.
void RemoveWithCompanions(const std::string &path);

}  // namespace sim
