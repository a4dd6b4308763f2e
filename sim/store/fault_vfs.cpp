#include "store/fault_vfs.h"

#include "store/database.h"

namespace sim {

struct FaultVfsCallbacks {
    // What SQLite allocates per open file: this header, then the default VFS's file.
    struct File {
        sqlite3_file file;
        FaultVfs *vfs;
    };

    static sqlite3_file *Base(sqlite3_file *file) {
        return reinterpret_cast<sqlite3_file *>(reinterpret_cast<File *>(file) + 1);
    }
    static sqlite3_vfs *Base(sqlite3_vfs *vfs) {
        return static_cast<FaultVfs *>(vfs->pAppData)->base_;
    }

    // True, once, when `fault` is armed for the VFS `file` was opened through.
    static bool Strike(sqlite3_file *file, FaultVfs::Fault fault) {
        FaultVfs::Fault expected = fault;
        return reinterpret_cast<File *>(file)->vfs->armed_.compare_exchange_strong(
            expected, FaultVfs::Fault::kNone);
    }

    // Calls the default VFS's method `Member` with the same arguments.
    template <auto Member>
    struct Forward;

    static int Write(sqlite3_file *file, const void *data, int amount, sqlite3_int64 offset) {
        if (Strike(file, FaultVfs::Fault::kDiskFull)) return SQLITE_FULL;
        return Base(file)->pMethods->xWrite(Base(file), data, amount, offset);
    }

    static int Sync(sqlite3_file *file, int flags) {
        if (Strike(file, FaultVfs::Fault::kIoError)) return SQLITE_IOERR_FSYNC;
        return Base(file)->pMethods->xSync(Base(file), flags);
    }

    static const sqlite3_io_methods kMethods;

    static int Open(sqlite3_vfs *vfs, sqlite3_filename name, sqlite3_file *file, int flags,
                    int *outFlags) {
        auto *wrapper = reinterpret_cast<File *>(file);
        wrapper->file.pMethods = nullptr;
        wrapper->vfs = static_cast<FaultVfs *>(vfs->pAppData);
        int rc = Base(vfs)->xOpen(Base(vfs), name, Base(file), flags, outFlags);
        if (rc == SQLITE_OK) wrapper->file.pMethods = &kMethods;
        return rc;
    }
};

template <class R, class... Args, R (*sqlite3_io_methods::*Member)(sqlite3_file *, Args...)>
struct FaultVfsCallbacks::Forward<Member> {
    static R Call(sqlite3_file *file, Args... args) {
        sqlite3_file *base = Base(file);
        return (base->pMethods->*Member)(base, args...);
    }
};

template <class R, class... Args, R (*sqlite3_vfs::*Member)(sqlite3_vfs *, Args...)>
struct FaultVfsCallbacks::Forward<Member> {
    static R Call(sqlite3_vfs *vfs, Args... args) {
        return (Base(vfs)->*Member)(Base(vfs), args...);
    }
};

// Version 3: WAL mode needs the shared-memory methods.
const sqlite3_io_methods FaultVfsCallbacks::kMethods = {
    3,
    Forward<&sqlite3_io_methods::xClose>::Call,
    Forward<&sqlite3_io_methods::xRead>::Call,
    Write,
    Forward<&sqlite3_io_methods::xTruncate>::Call,
    Sync,
    Forward<&sqlite3_io_methods::xFileSize>::Call,
    Forward<&sqlite3_io_methods::xLock>::Call,
    Forward<&sqlite3_io_methods::xUnlock>::Call,
    Forward<&sqlite3_io_methods::xCheckReservedLock>::Call,
    Forward<&sqlite3_io_methods::xFileControl>::Call,
    Forward<&sqlite3_io_methods::xSectorSize>::Call,
    Forward<&sqlite3_io_methods::xDeviceCharacteristics>::Call,
    Forward<&sqlite3_io_methods::xShmMap>::Call,
    Forward<&sqlite3_io_methods::xShmLock>::Call,
    Forward<&sqlite3_io_methods::xShmBarrier>::Call,
    Forward<&sqlite3_io_methods::xShmUnmap>::Call,
    Forward<&sqlite3_io_methods::xFetch>::Call,
    Forward<&sqlite3_io_methods::xUnfetch>::Call,
};

FaultVfs::FaultVfs(std::string name) : name_(std::move(name)), base_(sqlite3_vfs_find(nullptr)) {
    using Callbacks = FaultVfsCallbacks;
    if (base_ == nullptr) throw StoreError("no default SQLite VFS");
    // Version 2: the system-call overrides of version 3 are for SQLite's own tests.
    vfs_.iVersion = 2;
    vfs_.szOsFile = static_cast<int>(sizeof(Callbacks::File)) + base_->szOsFile;
    vfs_.mxPathname = base_->mxPathname;
    vfs_.zName = name_.c_str();
    vfs_.pAppData = this;
    vfs_.xOpen = Callbacks::Open;
    vfs_.xDelete = Callbacks::Forward<&sqlite3_vfs::xDelete>::Call;
    vfs_.xAccess = Callbacks::Forward<&sqlite3_vfs::xAccess>::Call;
    vfs_.xFullPathname = Callbacks::Forward<&sqlite3_vfs::xFullPathname>::Call;
    vfs_.xDlOpen = Callbacks::Forward<&sqlite3_vfs::xDlOpen>::Call;
    vfs_.xDlError = Callbacks::Forward<&sqlite3_vfs::xDlError>::Call;
    vfs_.xDlSym = Callbacks::Forward<&sqlite3_vfs::xDlSym>::Call;
    vfs_.xDlClose = Callbacks::Forward<&sqlite3_vfs::xDlClose>::Call;
    vfs_.xRandomness = Callbacks::Forward<&sqlite3_vfs::xRandomness>::Call;
    vfs_.xSleep = Callbacks::Forward<&sqlite3_vfs::xSleep>::Call;
    vfs_.xCurrentTime = Callbacks::Forward<&sqlite3_vfs::xCurrentTime>::Call;
    vfs_.xGetLastError = Callbacks::Forward<&sqlite3_vfs::xGetLastError>::Call;
    vfs_.xCurrentTimeInt64 = Callbacks::Forward<&sqlite3_vfs::xCurrentTimeInt64>::Call;
    if (sqlite3_vfs_register(&vfs_, 0) != SQLITE_OK)
        throw StoreError("cannot register SQLite VFS " + name_);
}

FaultVfs::~FaultVfs() {
    sqlite3_vfs_unregister(&vfs_);
}

}  // namespace sim
