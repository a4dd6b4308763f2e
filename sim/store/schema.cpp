#include "store/schema.h"

#include <string>

namespace sim {

namespace {

constexpr const char *kVersion1 = R"sql(
CREATE TABLE users (
    id TEXT PRIMARY KEY,
    password_hash TEXT NOT NULL,
    acl INTEGER NOT NULL,
    blocked INTEGER NOT NULL DEFAULT 0,
    failed_logins INTEGER NOT NULL DEFAULT 0,
    password_changed INTEGER NOT NULL,
    certificate BLOB
);
CREATE TABLE oath_tokens (
    user_id TEXT PRIMARY KEY REFERENCES users(id) ON DELETE CASCADE,
    kind INTEGER NOT NULL,
    sealed_seed BLOB NOT NULL,
    counter INTEGER NOT NULL,
    step INTEGER NOT NULL,
    start_time INTEGER NOT NULL
);
CREATE TABLE access_tokens (
    secret_hash BLOB PRIMARY KEY,
    user_id TEXT NOT NULL REFERENCES users(id) ON DELETE CASCADE,
    expires INTEGER NOT NULL,
    revoked INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE password_policy (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    invalid_logins INTEGER NOT NULL,
    expiry_days INTEGER NOT NULL,
    min_length INTEGER NOT NULL,
    specials INTEGER NOT NULL,
    uppercase INTEGER NOT NULL,
    lowercase INTEGER NOT NULL
);
INSERT INTO password_policy VALUES (1, 0, 0, 8, 0, 0, 0);
CREATE TABLE event_log (
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    time INTEGER NOT NULL,
    user_id TEXT NOT NULL,
    text TEXT NOT NULL
);
CREATE INDEX event_log_time ON event_log(time);
)sql";

}  // namespace

void EnsureSchema(Database &db) {
    Transaction tx(db);
    Statement read(db, "PRAGMA user_version");
    int64_t version = read.Step() ? read.Int(0) : 0;
    if (version > kSchemaVersion)
        throw StoreError("database schema " + std::to_string(version) + " is newer than " +
                         std::to_string(kSchemaVersion));
    if (version < 1) db.Execute(kVersion1);
    db.Execute(("PRAGMA user_version=" + std::to_string(kSchemaVersion)).c_str());
    tx.Commit();
}

}  // namespace sim
