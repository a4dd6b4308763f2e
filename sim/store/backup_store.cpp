#include "store/backup_store.h"

#include <fcntl.h>
#include <openssl/rand.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "crypto/master_key.h"
#include "platform/durable_file.h"
#include "store/schema.h"

namespace sim {

namespace {

constexpr const char *kSnapshotPrefix = "hsm.db.snapshot-";
constexpr const char *kRestorePart = "hsm.db.restore-part";
constexpr const char *kRestored = "hsm.db.restored";
constexpr const char *kRestoredKey = "master.key.restored";
// The tables of the network settings: what a restore without them keeps of the HSM's own.
constexpr const char *kNetworkTables[] = {"network_settings", "ip_filter_state",
                                          "ip_filter_entries"};

std::string RandomSuffix() {
    unsigned char random[8];
    if (RAND_bytes(random, sizeof random) != 1) throw StoreError("RAND_bytes failed");
    static constexpr char kHex[] = "0123456789abcdef";
    std::string suffix;
    for (unsigned char r : random) {
        suffix.push_back(kHex[r >> 4]);
        suffix.push_back(kHex[r & 15]);
    }
    return suffix;
}

int64_t ChangeCount(Database &db) {
    Statement read(db, "SELECT changes FROM backup_state WHERE id = 1");
    if (!read.Step()) throw StoreError("no backup state");
    return read.Int(0);
}

// Replaces the network settings of `db` with those of the database attached as `live`.
void KeepNetworkSettings(Database &db) {
    for (const char *table : kNetworkTables) {
        db.Execute((std::string("DELETE FROM main.") + table).c_str());
        db.Execute(
            (std::string("INSERT INTO main.") + table + " SELECT * FROM live." + table).c_str());
    }
}

// Brings the restored database's schema up to date and logs the restore in it.
Result PrepareRestored(const std::string &path, const std::string &livePath, const EventLog &events,
                       Actor actor, bool keepNetwork) {
    // Every byte is the snapshot's, as its tags proved: a page-by-page check would only
    // re-read the whole file.
    Database db(DatabaseFile{.path = path, .vfs = {}, .hook = nullptr, .scratch = true});
    if (HoldsNewerSchema(db)) return Result::kBackupVersion;
    {
        Transaction read(db, Transaction::kRead);
        const std::string serial = ReadEventLogEnds(db).serial;
        read.Commit();
        EnsureSchema(db, serial);
    }
    if (keepNetwork) Statement(db, "ATTACH DATABASE ? AS live").Bind(1, livePath).Run();
    Transaction tx(db);
    if (keepNetwork) KeepNetworkSettings(db);
    events.Append(db, actor,
                  keepNetwork ? "Restore backup, network settings kept"
                              : "Restore backup with its network settings",
                  kEventOk);
    tx.Commit();
    return Result::kOk;
}

}  // namespace

BackupSnapshot::~BackupSnapshot() {
    ::close(fd_);
}

RestoreTarget::~RestoreTarget() {
    if (fd_ >= 0) ::close(fd_);
    if (!path_.empty()) RemoveWithCompanions(path_);
    busy_ = false;
}

BackupStore::BackupStore(const DatabaseFile &file, std::string dir, const EventLog &events)
    : file_(file), dir_(std::move(dir)), events_(events), db_(file) {}

std::unique_ptr<BackupSnapshot> BackupStore::TakeSnapshot() {
    const std::string path = dir_ + "/" + kSnapshotPrefix + RandomSuffix();
    sqlite3 *copy = nullptr;
    try {
        // A connection of its own, in one read transaction: the change count and the pages
        // are of the same moment while the stores go on writing through theirs.
        Database source(file_);
        Transaction read(source, Transaction::kRead);
        const int64_t changes = ChangeCount(source);
        if (sqlite3_open_v2(path.c_str(), &copy, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                            nullptr) != SQLITE_OK)
            throw StoreError("cannot create the snapshot");
        // A scratch file: no journal, no sync.
        sqlite3_exec(copy, "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF", nullptr, nullptr,
                     nullptr);
        sqlite3_backup *backup = sqlite3_backup_init(copy, "main", source.handle(), "main");
        const int rc = backup == nullptr ? SQLITE_ERROR : sqlite3_backup_step(backup, -1);
        sqlite3_backup_finish(backup);
        if (rc != SQLITE_DONE) throw StoreError(std::string("snapshot: ") + sqlite3_errmsg(copy));
        sqlite3_close(copy);
        copy = nullptr;
        read.Commit();
        int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) throw StoreError("cannot open the snapshot");
        RemoveWithCompanions(path);
        return std::make_unique<BackupSnapshot>(fd, changes);
    } catch (...) {
        sqlite3_close(copy);
        RemoveWithCompanions(path);
        throw;
    }
}

void BackupStore::RecordBackup(Actor actor, const BackupSnapshot &snapshot) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "UPDATE backup_state SET backed_up = ? WHERE id = 1")
        .Bind(1, snapshot.changes())
        .Run();
    events_.Append(db_, actor, "Backup created", kEventOk);
    tx.Commit();
}

bool BackupStore::Pending() {
    std::lock_guard lock(mutex_);
    Statement read(db_, "SELECT changes != backed_up FROM backup_state WHERE id = 1");
    return !read.Step() || read.Int(0) != 0;
}

std::unique_ptr<RestoreTarget> BackupStore::BeginRestore() {
    if (restoring_.exchange(true)) return nullptr;
    const std::string path = dir_ + "/" + kRestorePart;
    RemoveWithCompanions(path);
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        restoring_ = false;
        throw StoreError("cannot create " + path);
    }
    return std::make_unique<RestoreTarget>(path, fd, restoring_);
}

Result BackupStore::CommitRestore(Actor actor, RestoreTarget &target, const SecretBytes &masterKey,
                                  bool keepNetwork) {
    try {
        if (Result r = PrepareRestored(target.path_, file_.path, events_, actor, keepNetwork);
            r != Result::kOk)
            return r;
    } catch (const StorageFull &) {
        throw;
    } catch (const StoreError &) {
        return Result::kBackupDamaged;  // SQLite does not take it for a database
    }
    // One sync for the decoded pages and SQLite's changes alike, on the descriptor that wrote
    // the pages so that a failed write-back is reported here.
    const int syncError = ::fsync(target.fd_) == 0 ? 0 : errno;
    ::close(target.fd_);
    target.fd_ = -1;
    // Space is often claimed only when the pages are written back, which is now.
    if (syncError == ENOSPC || syncError == EDQUOT)
        throw StorageFull("no room for the restored database");
    if (syncError != 0) throw StoreError("cannot sync " + target.path_);
    WriteFileDurably(dir_ + "/" + kRestoredKey, masterKey.view());
    if (::rename(target.path_.c_str(), (dir_ + "/" + kRestored).c_str()) != 0)
        throw StoreError("cannot commit the restore");
    target.path_.clear();
    restartRequired_ = true;
    SyncDirectory(dir_);
    return Result::kOk;
}

void ApplyPendingRestore(const std::string &dir) {
    const std::string restored = dir + "/" + kRestored;
    const std::string restoredKey = dir + "/" + kRestoredKey;
    if (::access(restored.c_str(), F_OK) == 0) {
        if (::rename(restoredKey.c_str(), (dir + "/master.key").c_str()) != 0 && errno != ENOENT)
            throw std::runtime_error("cannot move the restored master key into place");
        SyncDirectory(dir);
        // The old database's log would be replayed into the new file.
        for (const char *suffix : kDatabaseCompanions)
            ::unlink((dir + "/hsm.db" + suffix).c_str());
        if (::rename(restored.c_str(), (dir + "/hsm.db").c_str()) != 0)
            throw std::runtime_error("cannot move the restored database into place");
        SyncDirectory(dir);
    }
    ::unlink(restoredKey.c_str());
    RemoveWithCompanions(dir + "/" + kRestorePart);
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(dir, error))
        if (entry.path().filename().string().starts_with(kSnapshotPrefix))
            std::filesystem::remove(entry.path(), error);
}

}  // namespace sim
