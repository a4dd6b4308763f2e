#pragma once
// The database's side of backups and restores: consistent snapshots, the count of changes not
// yet backed up, and the restore that replaces the database at the next start. Thread-safe.
//
// A restore never touches the live database. It writes the new database beside it, checks
// and syncs it, and renames it to hsm.db.restored (with master.key.restored written and synced
// before): that rename is the moment the restore happens. The next start moves both into
// place before anything opens them (ApplyPendingRestore), so a kill at any moment leaves
// either the old database or the new one, whole.

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "core/result.h"
#include "core/secret.h"
#include "store/actor.h"
#include "store/database.h"
#include "store/event_log.h"

namespace sim {

// A copy of the database at one moment, kept open as an unlinked file.
class BackupSnapshot {
  public:
    BackupSnapshot(int fd, int64_t changes) : fd_(fd), changes_(changes) {}
    ~BackupSnapshot();
    BackupSnapshot(const BackupSnapshot &) = delete;
    BackupSnapshot &operator=(const BackupSnapshot &) = delete;
    int fd() const { return fd_; }
    int64_t changes() const { return changes_; }  // the change count it holds

  private:
    int fd_;
    int64_t changes_;
};

// The file a restore writes the new database into; removed unless the restore commits.
class RestoreTarget {
  public:
    RestoreTarget(std::string path, int fd, std::atomic<bool> &busy)
        : path_(std::move(path)), fd_(fd), busy_(busy) {}
    ~RestoreTarget();
    RestoreTarget(const RestoreTarget &) = delete;
    RestoreTarget &operator=(const RestoreTarget &) = delete;
    int fd() const { return fd_; }

  private:
    friend class BackupStore;
    std::string path_;
    int fd_;
    std::atomic<bool> &busy_;
};

class BackupStore {
  public:
    // REQUIRES: the schema exists. `dir` is the data directory holding `file`.
    BackupStore(const DatabaseFile &file, std::string dir, const EventLog &events);

    // Takes a consistent copy (SQLite's online backup, in one step) while other connections
    // go on writing. Throws StoreError.
    std::unique_ptr<BackupSnapshot> TakeSnapshot();
    // Counts the backup of `snapshot` as made and logs it. Throws StoreError.
    void RecordBackup(Actor actor, const BackupSnapshot &snapshot);
    // Whether the database changed since the last backup made of it.
    bool Pending();

    // The file for a new restore; null while another restore runs. Throws StoreError.
    std::unique_ptr<RestoreTarget> BeginRestore();
    // Makes the database written to `target` (already decrypted and checked for its tag) the
    // one of the next start, with `masterKey`; `keepNetwork` carries this HSM's network
    // settings over into it. The restore is logged in the new database. kBackupDamaged when
    // SQLite does not take the file for a database, kBackupVersion when its schema is newer. On kOk
    // the HSM needs a restart (RestartRequired).
    Result CommitRestore(Actor actor, RestoreTarget &target, const SecretBytes &masterKey,
                         bool keepNetwork);
    bool RestartRequired() const { return restartRequired_; }

  private:
    DatabaseFile file_;
    std::string dir_;
    const EventLog &events_;
    std::mutex mutex_;
    Database db_;
    std::atomic<bool> restoring_{false};
    std::atomic<bool> restartRequired_{false};
};

// Run by the daemon's start before it opens the database of `dir`: completes a restore
// committed before the last stop, and removes what an unfinished backup or restore left behind.
// Throws std::runtime_error when a file cannot be moved.
void ApplyPendingRestore(const std::string &dir);

}  // namespace sim
