#pragma once
// Storage that fails on demand, for tests: a SQLite VFS that hands everything to SQLite's
// default VFS, except that it can be told to fail the next write as a full disk does or
// the next sync as a failing device does. It registers under its own name and never as
// the default, so only connections opened through that name (DatabaseFile::vfs) see it.

#include <sqlite3.h>

#include <atomic>
#include <string>

namespace sim {

class FaultVfs {
  public:
    enum class Fault {
        kNone,
        kDiskFull,  // the next write answers SQLITE_FULL
        kIoError,   // the next sync answers SQLITE_IOERR_FSYNC
    };

    // Registers the VFS as `name`; throws StoreError when SQLite refuses. REQUIRES: no
    // other registered VFS has that name.
    explicit FaultVfs(std::string name);
    // REQUIRES: every connection opened through it is closed.
    ~FaultVfs();
    FaultVfs(const FaultVfs &) = delete;
    FaultVfs &operator=(const FaultVfs &) = delete;

    const std::string &name() const { return name_; }
    // Arms `fault` for the next write or sync of any file opened through this VFS; it
    // strikes once. Thread-safe.
    void FailNext(Fault fault) { armed_ = fault; }
    // The fault armed and not yet struck (kNone when none). Thread-safe.
    Fault armed() const { return armed_; }

  private:
    friend struct FaultVfsCallbacks;  // the VFS and file methods, in fault_vfs.cpp

    std::string name_;
    sqlite3_vfs *base_ = nullptr;  // SQLite's default VFS
    std::atomic<Fault> armed_{Fault::kNone};
    sqlite3_vfs vfs_{};
};

}  // namespace sim
