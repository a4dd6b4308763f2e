#include "store/database.h"

#include <openssl/crypto.h>
#include <unistd.h>

#include "store/commit_hook.h"

namespace sim {

namespace {

// Another process (orvena-simctl) may hold the write lock briefly.
constexpr int kBusyTimeoutMs = 10000;

[[noreturn]] void Fail(sqlite3 *db, const char *what) {
    std::string message = std::string(what) + ": " + (db ? sqlite3_errmsg(db) : "out of memory");
    if (db != nullptr && (sqlite3_errcode(db) & 0xff) == SQLITE_FULL) throw StorageFull(message);
    throw StoreError(message);
}

}  // namespace

Database::Database(const DatabaseFile &file) : hook_(file.hook) {
    // Every connection is used by one thread at a time, under its owner's mutex (see
    // UserStore): SQLite's own mutex per call would only repeat that.
    if (sqlite3_open_v2(file.path.c_str(), &db_,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                        file.vfs.empty() ? nullptr : file.vfs.c_str()) != SQLITE_OK) {
        std::string message =
            "open " + file.path + ": " + (db_ ? sqlite3_errmsg(db_) : "out of memory");
        sqlite3_close(db_);
        db_ = nullptr;
        throw StoreError(message);
    }
    sqlite3_busy_timeout(db_, kBusyTimeoutMs);
    if (file.scratch) {
        Execute("PRAGMA journal_mode=MEMORY");
        Execute("PRAGMA synchronous=OFF");
    } else {
        Execute("PRAGMA journal_mode=WAL");
        Execute("PRAGMA synchronous=FULL");
    }
    Execute("PRAGMA foreign_keys=ON");
    // Savepoints and changeset applications need a scratch journal; as a file, made and
    // deleted per transaction, it cost a replicated commit more than its own fsync.
    Execute("PRAGMA temp_store=MEMORY");
}

Database::~Database() {
    for (auto &[sql, stmt] : idle_)
        sqlite3_finalize(stmt);
    sqlite3_close(db_);
}

sqlite3_stmt *Database::Acquire(const char *sql) {
    if (auto it = idle_.find(sql); it != idle_.end()) {
        sqlite3_stmt *stmt = it->second;
        idle_.erase(it);
        return stmt;
    }
    sqlite3_stmt *stmt = nullptr;
    if (sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr) != SQLITE_OK)
        Fail(db_, "prepare");
    return stmt;
}

void Database::Release(sqlite3_stmt *stmt) {
    sqlite3_reset(stmt);
    sqlite3_clear_bindings(stmt);
    if (!idle_.try_emplace(sqlite3_sql(stmt), stmt).second) sqlite3_finalize(stmt);
}

void Database::Execute(const char *sql) {
    if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail(db_, sql);
}

bool Database::TryRun(const char *sql) {
    sqlite3_stmt *stmt = Acquire(sql);
    const int rc = sqlite3_step(stmt);
    Release(stmt);
    return rc == SQLITE_DONE;
}

Statement::Statement(Database &db, const char *sql) : db_(db), stmt_(db.Acquire(sql)) {}

Statement::~Statement() {
    db_.Release(stmt_);
}

Statement &Statement::Bind(int index, int64_t value) {
    if (sqlite3_bind_int64(stmt_, index, value) != SQLITE_OK) Fail(db_.handle(), "bind");
    return *this;
}

Statement &Statement::Bind(int index, std::string_view text) {
    if (sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()),
                          SQLITE_TRANSIENT) != SQLITE_OK)
        Fail(db_.handle(), "bind");
    return *this;
}

Statement &Statement::BindBlob(int index, std::string_view bytes) {
    if (sqlite3_bind_blob(stmt_, index, bytes.data(), static_cast<int>(bytes.size()),
                          SQLITE_TRANSIENT) != SQLITE_OK)
        Fail(db_.handle(), "bind");
    return *this;
}

Statement &Statement::BindNull(int index) {
    if (sqlite3_bind_null(stmt_, index) != SQLITE_OK) Fail(db_.handle(), "bind");
    return *this;
}

bool Statement::Step() {
    int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    Fail(db_.handle(), "step");
}

void Statement::Run() {
    while (Step()) {
    }
}

int64_t Statement::Int(int column) const {
    return sqlite3_column_int64(stmt_, column);
}

std::string Statement::Text(int column) const {
    return std::string(TextView(column));
}

std::string Statement::Blob(int column) const {
    return std::string(BlobView(column));
}

std::string_view Statement::TextView(int column) const {
    const auto *text = sqlite3_column_text(stmt_, column);
    if (text == nullptr) return {};
    return {reinterpret_cast<const char *>(text),
            static_cast<size_t>(sqlite3_column_bytes(stmt_, column))};
}

std::string_view Statement::BlobView(int column) const {
    const void *blob = sqlite3_column_blob(stmt_, column);
    if (blob == nullptr) return {};
    return {static_cast<const char *>(blob),
            static_cast<size_t>(sqlite3_column_bytes(stmt_, column))};
}

namespace {

int ReplicatedTable(void *hook, const char *table) {
    return static_cast<CommitHook *>(hook)->Replicates(table) ? 1 : 0;
}

// The change as a changeset; empty when the transaction changed no replicated row (a row
// updated to the values it had, or changed and rolled back to a savepoint, counts as none).
std::string TakeChangeset(sqlite3 *db, sqlite3_session *session) {
    int size = 0;
    void *bytes = nullptr;
    if (sqlite3session_changeset(session, &size, &bytes) != SQLITE_OK) Fail(db, "changeset");
    std::string changeset(static_cast<const char *>(bytes), static_cast<size_t>(size));
    sqlite3_free(bytes);
    return changeset;
}

}  // namespace

Transaction::Transaction(Database &db, Kind kind) : db_(db) {
    Statement(db_, kind == kWrite ? "BEGIN IMMEDIATE" : "BEGIN").Run();
    CommitHook *hook = db_.hook();
    if (kind != kWrite || hook == nullptr || !hook->Captures()) return;
    if (sqlite3session_create(db_.handle(), "main", &changes_) != SQLITE_OK) {
        sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
        Fail(db_.handle(), "session");
    }
    sqlite3session_table_filter(changes_, ReplicatedTable, hook);
    if (sqlite3session_attach(changes_, nullptr) != SQLITE_OK) {
        sqlite3session_delete(changes_);
        sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
        Fail(db_.handle(), "session");
    }
}

Transaction::~Transaction() {
    if (changes_ != nullptr) sqlite3session_delete(changes_);
    if (!done_) sqlite3_exec(db_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

Confirmation Transaction::CommitUnconfirmed() {
    std::string changeset;
    if (changes_ != nullptr) {
        changeset = TakeChangeset(db_.handle(), changes_);
        sqlite3session_delete(changes_);
        changes_ = nullptr;
    }
    if (changeset.empty()) {
        Statement(db_, "COMMIT").Run();
        done_ = true;
        return {};
    }
    // The change holds what its rows hold (password hashes, sealed keys): wiped once passed on.
    struct Wipe {
        std::string &bytes;
        ~Wipe() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
    } wipe{changeset};
    CommitHook &hook = *db_.hook();
    const uint64_t ticket = hook.Prepare(db_, changeset);
    bool committed = db_.TryRun("COMMIT");
    if (!committed) {
        const std::string cause = sqlite3_errmsg(db_.handle());
        hook.Finish(ticket, false);
        throw StoreError("COMMIT: " + cause);
    }
    done_ = true;
    hook.Finish(ticket, true);
    return {&hook, ticket};
}

Confirmation::~Confirmation() {
    try {
        Await();
    } catch (const StoreError &) {
        // Whoever dropped it had no one to tell.
    }
}

void Confirmation::Await() {
    if (CommitHook *hook = std::exchange(hook_, nullptr)) hook->Confirm(ticket_);
}

const char *const kDatabaseCompanions[3] = {"-wal", "-shm", "-journal"};

void RemoveWithCompanions(const std::string &path) {
    ::unlink(path.c_str());
    for (const char *suffix : kDatabaseCompanions)
        ::unlink((path + suffix).c_str());
}

}  // namespace sim
