#include "replication/domain_snapshot.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <limits>
#include <optional>
#include <vector>

#include "replication/replication_journal.h"

namespace sim {

// Why each table is or is not here is in NODE_PROTOCOL.md.
const char *const kSharedTables[] = {"users",           "oath_tokens",     "access_tokens",
                                     "password_policy", "objects",         "svmk_state",
                                     "mofn_partitions", "security_policy", "eftd_config"};
const size_t kSharedTableCount = std::size(kSharedTables);

bool IsSharedTable(std::string_view table) {
    for (const char *shared : kSharedTables) {
        if (table == shared) return true;
    }
    return false;
}

namespace {

// The image is attached under this name while it is made or read.
constexpr const char *kAttached = "domain_snapshot";
// Appended to the database's name, then a unique suffix: RemoveStaleSnapshots finds them by it.
constexpr const char *kImageInfix = ".node-image-";

// Throws for the failed call that set errno: a full disk as such, so that it is told apart.
[[noreturn]] void FailIo(const std::string &what) {
    const int error = errno;
    const std::string message = what + ": " + std::strerror(error);
    if (error == ENOSPC || error == EDQUOT) throw StorageFull(message);
    throw StoreError(message);
}

// A new empty file, the owner's alone whatever the umask, with a name no other image has.
int CreateImageFile(Database &db, std::string *path) {
    *path = std::string(sqlite3_db_filename(db.handle(), "main")) + kImageInfix + "XXXXXX";
    const int fd = ::mkostemp(path->data(), O_CLOEXEC);
    if (fd < 0) FailIo("cannot create a node image");
    return fd;
}

// Attaches the file at `path` for the life of the object. A scratch file: no journal, no
// sync, since a crash throws it away.
class Attached {
  public:
    Attached(Database &db, const std::string &path) : db_(db) {
        Statement(db_, "ATTACH DATABASE ? AS domain_snapshot").Bind(1, path).Run();
        try {
            db_.Execute("PRAGMA domain_snapshot.journal_mode=OFF");
            db_.Execute("PRAGMA domain_snapshot.synchronous=OFF");
        } catch (...) {
            Detach();  // no destructor runs for a constructor that throws
            throw;
        }
    }
    ~Attached() { Detach(); }
    Attached(const Attached &) = delete;
    Attached &operator=(const Attached &) = delete;

  private:
    void Detach() {
        sqlite3_exec(db_.handle(), (std::string("DETACH ") + kAttached).c_str(), nullptr, nullptr,
                     nullptr);
    }

    Database &db_;
};

int64_t SchemaVersion(Database &db) {
    Statement read(db, "PRAGMA main.user_version");
    return read.Step() ? read.Int(0) : 0;
}

// The columns of `table` in `schema`, sorted: a file that was upgraded may hold them in
// another order than one created at the latest version.
std::vector<std::string> Columns(Database &db, const std::string &schema, const char *table) {
    std::vector<std::string> columns;
    Statement read(db, "SELECT name FROM pragma_table_info(?, ?) ORDER BY name");
    read.Bind(1, std::string_view(table)).Bind(2, schema);
    while (read.Step())
        columns.push_back("\"" + read.Text(0) + "\"");
    return columns;
}

std::string Joined(const std::vector<std::string> &columns) {
    std::string list;
    for (const std::string &column : columns)
        list += (list.empty() ? "" : ", ") + column;
    return list;
}

// SQLite gathers every row a statement changes before it runs the table's triggers (the
// backup counter's), in memory: one statement over a whole table would hold it all. Batches
// of this many rows keep that bounded.
constexpr int64_t kRowsPerStatement = 1024;

void EmptyTable(Database &db, const char *table) {
    const std::string sql = std::string("DELETE FROM main.") + table +
                            " WHERE rowid IN (SELECT rowid FROM main." + table + " LIMIT " +
                            std::to_string(kRowsPerStatement) + ")";
    do {
        Statement(db, sql.c_str()).Run();
    } while (sqlite3_changes64(db.handle()) > 0);
}

// Copies the rows of the attached table into the main one, in batches by the image's rowid.
void CopyTable(Database &db, const char *table, const std::string &columns) {
    const std::string image = std::string(kAttached) + "." + table;
    const std::string bound = "SELECT rowid FROM " + image +
                              " WHERE rowid > ? ORDER BY rowid LIMIT 1 OFFSET " +
                              std::to_string(kRowsPerStatement - 1);
    const std::string copy = std::string("INSERT INTO main.") + table + " (" + columns +
                             ") SELECT " + columns + " FROM " + image +
                             " WHERE rowid > ? AND rowid <= ?";
    constexpr int64_t kEnd = std::numeric_limits<int64_t>::max();
    for (int64_t done = std::numeric_limits<int64_t>::min(); done != kEnd;) {
        int64_t upTo = kEnd;
        if (Statement next(db, bound.c_str()); next.Bind(1, done).Step()) upTo = next.Int(0);
        Statement(db, copy.c_str()).Bind(1, done).Bind(2, upTo).Run();
        done = upTo;
    }
}

// Copies the shared tables and their sync point into the attached file, all of one moment.
void CopySharedTables(Database &db) {
    const std::string image = std::string(kAttached) + ".";
    Transaction read(db, Transaction::kRead);
    for (const char *table : kSharedTables)
        db.Execute(("CREATE TABLE " + image + table + " AS SELECT * FROM main." + table).c_str());
    db.Execute(("CREATE TABLE " + image + "snapshot_state AS SELECT sync_point, " +
                std::to_string(SchemaVersion(db)) + " AS schema FROM main.replication_state")
                   .c_str());
    read.Commit();
}

}  // namespace

std::unique_ptr<SnapshotImage> SnapshotImage::Take(Database &db) {
    std::string path;
    const int fd = CreateImageFile(db, &path);
    try {
        {
            Attached attached(db, path);
            CopySharedTables(db);
        }
        // SQLite has closed the file: from here on it lives as long as the descriptor.
        RemoveWithCompanions(path);
        struct stat info {};
        if (::fstat(fd, &info) != 0) FailIo("cannot read a node image");
        return std::unique_ptr<SnapshotImage>(
            new SnapshotImage(fd, static_cast<uint64_t>(info.st_size)));
    } catch (...) {
        RemoveWithCompanions(path);
        ::close(fd);
        throw;
    }
}

SnapshotImage::~SnapshotImage() {
    ::close(fd_);
}

std::string SnapshotImage::Read(uint64_t offset, size_t length) const {
    std::string piece(offset < size_ ? std::min<uint64_t>(length, size_ - offset) : 0, '\0');
    size_t done = 0;
    while (done < piece.size()) {
        const ssize_t n = ::pread(fd_, piece.data() + done, piece.size() - done,
                                  static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) throw StoreError("cannot read a node image");
        done += static_cast<size_t>(n);
    }
    return piece;
}

IncomingSnapshot::IncomingSnapshot(Database &db) : fd_(CreateImageFile(db, &path_)) {}

IncomingSnapshot::~IncomingSnapshot() {
    if (fd_ >= 0) ::close(fd_);
    RemoveWithCompanions(path_);
}

void IncomingSnapshot::Append(std::string_view piece) {
    while (!piece.empty()) {
        const ssize_t n = ::write(fd_, piece.data(), piece.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) FailIo("cannot write a node image");
        piece.remove_prefix(static_cast<size_t>(n));
        size_ += static_cast<uint64_t>(n);
    }
}

bool IncomingSnapshot::Restore(Database &db) {
    // Closing a descriptor drops every POSIX lock the process holds on the file, SQLite's
    // included: ours goes before SQLite opens it.
    ::close(fd_);
    fd_ = -1;
    std::optional<Attached> attached;
    uint64_t syncPoint = 0;
    std::vector<std::string> columns;
    try {
        attached.emplace(db, path_);
        Statement state(db, "SELECT sync_point, schema FROM domain_snapshot.snapshot_state");
        if (!state.Step() || state.Int(1) != SchemaVersion(db)) return false;
        syncPoint = static_cast<uint64_t>(state.Int(0));
        for (const char *table : kSharedTables) {
            const std::vector<std::string> mine = Columns(db, "main", table);
            if (mine.empty() || Columns(db, kAttached, table) != mine) return false;
            columns.push_back(Joined(mine));
        }
    } catch (const StoreError &) {
        return false;  // not an image of the shared tables
    }
    Transaction tx(db);
    for (size_t i = kSharedTableCount; i-- > 0;)
        EmptyTable(db, kSharedTables[i]);
    for (size_t i = 0; i < kSharedTableCount; ++i)
        CopyTable(db, kSharedTables[i], columns[i]);
    RestartJournal(db, syncPoint);
    tx.Commit();
    return true;
}

void RemoveStaleSnapshots(const std::string &databasePath) {
    const std::filesystem::path database(databasePath);
    const std::string prefix = database.filename().string() + kImageInfix;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(database.parent_path(), error))
        if (entry.path().filename().string().starts_with(prefix))
            std::filesystem::remove(entry.path(), error);
}

}  // namespace sim
