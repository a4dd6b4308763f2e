#include "simctl/join_copy.h"

#include <openssl/crypto.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "platform/durable_file.h"
#include "store/database.h"

namespace sim {

namespace {

void CopyDatabase(const std::string &from, const std::string &to) {
    Database source({from, {}});
    Transaction read(source, Transaction::kRead);
    Database target({to, {}});
    sqlite3_backup *backup = sqlite3_backup_init(target.handle(), "main", source.handle(), "main");
    const int rc = backup == nullptr ? SQLITE_ERROR : sqlite3_backup_step(backup, -1);
    sqlite3_backup_finish(backup);
    if (rc != SQLITE_DONE)
        throw std::runtime_error(std::string("copy of the database: ") +
                                 sqlite3_errmsg(target.handle()));
    // The node list is the existing node's view; the new node's comes with its addition.
    Statement clear(target, "DELETE FROM replication_nodes");
    clear.Run();
    read.Commit();
}

}  // namespace

void CopyNodeDirectory(const std::string &existingDir, const std::string &newDir) {
    if (std::filesystem::exists(newDir + "/hsm.db"))
        throw std::runtime_error(newDir + " holds a database already");
    if (!std::filesystem::exists(existingDir + "/hsm.db"))
        throw std::runtime_error(existingDir + " holds no HSM database");
    if (::mkdir(newDir.c_str(), 0700) != 0 && errno != EEXIST)
        throw std::runtime_error("cannot create data directory " + newDir);
    std::optional<std::string> key = ReadSmallFile(existingDir + "/master.key");
    if (!key) throw std::runtime_error("cannot read the master key of " + existingDir);
    try {
        WriteFileDurably(newDir + "/master.key", *key);
    } catch (...) {
        OPENSSL_cleanse(key->data(), key->size());
        throw;
    }
    OPENSSL_cleanse(key->data(), key->size());
    CopyDatabase(existingDir + "/hsm.db", newDir + "/hsm.db");
}

}  // namespace sim
