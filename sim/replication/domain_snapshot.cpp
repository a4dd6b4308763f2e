#include "replication/domain_snapshot.h"

#include <openssl/crypto.h>

#include <iterator>
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

// Attaches an empty in-memory database for the life of the object.
class Attached {
  public:
    explicit Attached(Database &db) : db_(db) {
        db_.Execute((std::string("ATTACH ':memory:' AS ") + kAttached).c_str());
    }
    ~Attached() {
        sqlite3_exec(db_.handle(), (std::string("DETACH ") + kAttached).c_str(), nullptr, nullptr,
                     nullptr);
    }
    Attached(const Attached &) = delete;
    Attached &operator=(const Attached &) = delete;

  private:
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

}  // namespace

std::string TakeSnapshot(Database &db) {
    Attached attached(db);
    const std::string image = std::string(kAttached) + ".";
    {
        Transaction read(db, Transaction::kRead);
        for (const char *table : kSharedTables)
            db.Execute(
                ("CREATE TABLE " + image + table + " AS SELECT * FROM main." + table).c_str());
        db.Execute(("CREATE TABLE " + image + "snapshot_state AS SELECT sync_point, " +
                    std::to_string(SchemaVersion(db)) + " AS schema FROM main.replication_state")
                       .c_str());
        read.Commit();
    }
    sqlite3_int64 size = 0;
    unsigned char *bytes = sqlite3_serialize(db.handle(), kAttached, &size, 0);
    if (bytes == nullptr) throw StoreError("snapshot: out of memory");
    std::string copy(reinterpret_cast<char *>(bytes), static_cast<size_t>(size));
    OPENSSL_cleanse(bytes, static_cast<size_t>(size));
    sqlite3_free(bytes);
    return copy;
}

bool RestoreSnapshot(Database &db, std::string &image) {
    Attached attached(db);
    // Neither resizable nor freed on close: SQLite reads the caller's bytes in place and
    // leaves them to the caller, who wipes them. (Not read-only either: the write transaction
    // below takes every attached database's write lock.)
    if (sqlite3_deserialize(db.handle(), kAttached, reinterpret_cast<unsigned char *>(image.data()),
                            static_cast<sqlite3_int64>(image.size()),
                            static_cast<sqlite3_int64>(image.size()), 0) != SQLITE_OK)
        return false;
    uint64_t syncPoint = 0;
    std::vector<std::string> columns;
    try {
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
        db.Execute((std::string("DELETE FROM main.") + kSharedTables[i]).c_str());
    for (size_t i = 0; i < kSharedTableCount; ++i)
        db.Execute((std::string("INSERT INTO main.") + kSharedTables[i] + " (" + columns[i] +
                    ") SELECT " + columns[i] + " FROM " + kAttached + "." + kSharedTables[i])
                       .c_str());
    RestartJournal(db, syncPoint);
    tx.Commit();
    return true;
}

}  // namespace sim
