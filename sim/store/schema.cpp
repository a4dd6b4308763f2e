#include "store/schema.h"

#include <cctype>
#include <iterator>
#include <string>

#include "store/event_chain.h"
#include "store/event_log.h"
#include "store/raw_log.h"

namespace sim {

namespace {

// Accounts, their second factors and tokens, the password policy and the first event log.
void CreateAccounts(Database &db, std::string_view) {
    db.Execute(R"sql(
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
)sql");
}

// The objects of the partitions. Before this step the key store made the table itself, in
// any of the shapes it had over time, so a file at version 1 may hold it already and lack
// some of the later columns.
void CreateObjects(Database &db, std::string_view) {
    db.Execute(R"sql(
CREATE TABLE IF NOT EXISTS objects (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    owner TEXT NOT NULL,
    name TEXT NOT NULL,
    kind INTEGER NOT NULL,
    algorithm INTEGER NOT NULL,
    attributes INTEGER NOT NULL,
    length INTEGER NOT NULL,
    sealed BLOB,
    public_exponent BLOB,
    created INTEGER NOT NULL,
    label TEXT NOT NULL DEFAULT '',
    target TEXT NOT NULL DEFAULT '',
    target_type INTEGER NOT NULL DEFAULT 0,
    second TEXT NOT NULL DEFAULT '',
    second_type INTEGER NOT NULL DEFAULT 0,
    p11_label TEXT NOT NULL DEFAULT '',
    UNIQUE (owner, name)
);
CREATE INDEX IF NOT EXISTS objects_owner_kind ON objects (owner, kind);
)sql");
    constexpr const char *kLaterColumns[][2] = {
        {"generated", "INTEGER NOT NULL DEFAULT 0"},
        {"blocked", "INTEGER NOT NULL DEFAULT 0"},
        {"certificate", "BLOB"},
    };
    for (const auto &[name, definition] : kLaterColumns) {
        Statement present(db, "SELECT 1 FROM pragma_table_info('objects') WHERE name = ?");
        if (present.Bind(1, std::string_view(name)).Step()) continue;
        db.Execute(
            (std::string("ALTER TABLE objects ADD COLUMN ") + name + " " + definition).c_str());
    }
}

// The event log becomes a hash chain (event_log_format.md) that starts at the serial of the
// HSM opening the file now. Lines written before are carried over as its first lines, with
// boot 0, their text as the operation and an empty outcome. The chaining is spelt out here
// rather than left to EventLog so that this step keeps doing what it did when later steps
// change the table.
void ChainEventLog(Database &db, std::string_view serial) {
    db.Execute(R"sql(
ALTER TABLE event_log RENAME TO event_log_unchained;
DROP INDEX event_log_time;
CREATE TABLE event_log (
    seq INTEGER PRIMARY KEY,
    boot INTEGER NOT NULL,
    time INTEGER NOT NULL,
    user_id TEXT NOT NULL,
    operation TEXT NOT NULL,
    outcome TEXT NOT NULL,
    hash BLOB NOT NULL
);
CREATE INDEX event_log_time ON event_log(time);
CREATE TABLE event_log_state (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    serial TEXT NOT NULL,
    boot INTEGER NOT NULL,
    last_seq INTEGER NOT NULL,
    last_hash BLOB NOT NULL
);
)sql");
    std::string hash = ChainStart(serial);
    EventLine line;
    Statement old(db, "SELECT time, user_id, text FROM event_log_unchained ORDER BY seq");
    while (old.Step()) {
        line = {line.seq + 1, 0, old.Int(0), old.Text(1), old.Text(2), ""};
        hash = ChainHash(hash, CanonicalText(line));
        Statement(db,
                  "INSERT INTO event_log (seq, boot, time, user_id, operation, outcome, hash) "
                  "VALUES (?, ?, ?, ?, ?, '', ?)")
            .Bind(1, line.seq)
            .Bind(2, line.boot)
            .Bind(3, line.time)
            .Bind(4, line.user)
            .Bind(5, line.operation)
            .BindBlob(6, hash)
            .Run();
    }
    Statement(db, "INSERT INTO event_log_state VALUES (1, ?, 0, ?, ?)")
        .Bind(1, serial)
        .Bind(2, line.seq)
        .BindBlob(3, hash)
        .Run();
}

// The log becomes a text the HSM serves by byte offset (event_log_format.md): each line keeps
// where it ends in that text, indexed, so a read at any offset finds its line at once. The
// text begins with an anchor, the line the first line links to; until the log is first
// cleared that is the start of the chain. A second, small log keeps the hardware's events.
void IndexEventLog(Database &db, std::string_view serial) {
    db.Execute(R"sql(
ALTER TABLE event_log ADD COLUMN end_offset INTEGER NOT NULL DEFAULT 0;
ALTER TABLE event_log_state ADD COLUMN anchor_seq INTEGER NOT NULL DEFAULT 0;
ALTER TABLE event_log_state ADD COLUMN anchor_boot INTEGER NOT NULL DEFAULT 0;
ALTER TABLE event_log_state ADD COLUMN anchor_time INTEGER NOT NULL DEFAULT 0;
ALTER TABLE event_log_state ADD COLUMN anchor_hash BLOB NOT NULL DEFAULT x'';
ALTER TABLE event_log_state ADD COLUMN size INTEGER NOT NULL DEFAULT 0;
CREATE TABLE hardware_log (
    seq INTEGER PRIMARY KEY,
    time INTEGER NOT NULL,
    event TEXT NOT NULL,
    detail TEXT NOT NULL
);
)sql");
    LogAnchor anchor{0, 0, 0, ChainStart(serial), std::string(serial)};
    {
        Statement first(db, "SELECT time FROM event_log ORDER BY seq LIMIT 1");
        if (first.Step()) anchor.time = first.Int(0);
    }
    int64_t end = static_cast<int64_t>(AnchorLine(anchor).size());
    {
        Statement lines(db,
                        "SELECT seq, boot, time, user_id, operation, outcome, hash FROM event_log "
                        "ORDER BY seq");
        while (lines.Step()) {
            EventLine line{lines.Int(0),  lines.Int(1),  lines.Int(2),
                           lines.Text(3), lines.Text(4), lines.Text(5)};
            end += static_cast<int64_t>(RawLine(line, lines.Blob(6)).size());
            Statement(db, "UPDATE event_log SET end_offset = ? WHERE seq = ?")
                .Bind(1, end)
                .Bind(2, line.seq)
                .Run();
        }
    }
    db.Execute("CREATE UNIQUE INDEX event_log_end ON event_log(end_offset)");
    Statement(db,
              "UPDATE event_log_state SET anchor_seq = 0, anchor_boot = 0, anchor_time = ?, "
              "anchor_hash = ?, size = ? WHERE id = 1")
        .Bind(1, anchor.time)
        .BindBlob(2, anchor.hash)
        .Bind(3, end)
        .Run();
}

// Each line keeps its canonical text, what its hash covers and what the log serves, in place
// of the fields it is made of, so serving the log renders nothing and the file does not grow.
// The text is also kept deflated in sealed segments (log_segments.h). This step seals none:
// the first line appended after it seals what the log holds, and until then a ZIP deflates
// the text as it reads it.
void KeepLineTexts(Database &db, std::string_view) {
    db.Execute(R"sql(
CREATE TABLE event_log_text (
    seq INTEGER PRIMARY KEY,
    end_offset INTEGER NOT NULL,
    hash BLOB NOT NULL,
    text TEXT NOT NULL
);
CREATE TABLE event_log_segments (
    end_offset INTEGER PRIMARY KEY,
    start_offset INTEGER NOT NULL,
    crc INTEGER NOT NULL,
    deflated BLOB NOT NULL
);
ALTER TABLE event_log_state ADD COLUMN sealed_end INTEGER NOT NULL DEFAULT 0;
)sql");
    {
        Statement lines(db,
                        "SELECT seq, boot, time, user_id, operation, outcome, hash, end_offset "
                        "FROM event_log ORDER BY seq");
        while (lines.Step()) {
            EventLine line{lines.Int(0),  lines.Int(1),  lines.Int(2),
                           lines.Text(3), lines.Text(4), lines.Text(5)};
            Statement(db, "INSERT INTO event_log_text VALUES (?, ?, ?, ?)")
                .Bind(1, line.seq)
                .Bind(2, lines.Int(7))
                .BindBlob(3, lines.Blob(6))
                .Bind(4, CanonicalText(line))
                .Run();
        }
    }
    // Nothing is sealed yet: the sealed part is the anchor line, which ends where the first
    // line begins (a raw line is its hash in hexadecimal, a space, its text and a newline).
    db.Execute(R"sql(
DROP TABLE event_log;
ALTER TABLE event_log_text RENAME TO event_log;
CREATE UNIQUE INDEX event_log_end ON event_log(end_offset);
UPDATE event_log_state SET sealed_end = COALESCE(
    (SELECT end_offset - 2 * length(hash) - length(CAST(text AS BLOB)) - 2
     FROM event_log ORDER BY seq LIMIT 1),
    size);
)sql");
}

// Triggers that count each insert, delete and `update` ("UPDATE" or "UPDATE OF columns") of
// `table` in backup_state, the counter "Pending Backup" compares.
void CountChangesOf(Database &db, const char *table, const char *update) {
    for (const char *event : {"INSERT", "DELETE", update}) {
        std::string name = std::string(table) + "_" + std::string(event).substr(0, 6) + "_counted";
        for (char &c : name)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        db.Execute(("CREATE TRIGGER " + name + " AFTER " + event + " ON " + table +
                    " BEGIN UPDATE backup_state SET changes = changes + 1 WHERE id = 1; END")
                       .c_str());
    }
}

// A counter of the changes a backup keeps (accounts, second factors, tokens, the policy, the
// objects, the network settings), so that the HSM can tell whether it changed since its last
// backup. Logins and one-time-password counters are not changes of that kind. The network
// settings are the table a restore may keep from the HSM it restores onto.
void CountChanges(Database &db, std::string_view) {
    db.Execute(R"sql(
CREATE TABLE backup_state (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    changes INTEGER NOT NULL,
    backed_up INTEGER NOT NULL
);
INSERT INTO backup_state VALUES (1, 1, 0);
CREATE TABLE network_settings (
    name TEXT PRIMARY KEY,
    value TEXT NOT NULL
);
)sql");
    constexpr const char *kWatched[][2] = {
        {"users", "UPDATE OF password_hash, acl, blocked, certificate"},
        {"oath_tokens", "UPDATE OF kind, sealed_seed, step, start_time"},
        {"access_tokens", "UPDATE"},
        {"password_policy", "UPDATE"},
        {"objects", "UPDATE"},
        {"network_settings", "UPDATE"},
    };
    for (const auto &[table, update] : kWatched)
        CountChangesOf(db, table, update);
}

// The IP filter's state, off until an operator turns it on, and the client hosts it admits.
// Both are network settings: a restore may keep the HSM's own, and a backup keeps them.
void FilterClientHosts(Database &db, std::string_view) {
    db.Execute(R"sql(
CREATE TABLE ip_filter_state (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    enabled INTEGER NOT NULL
);
INSERT INTO ip_filter_state VALUES (1, 0);
CREATE TABLE ip_filter_entries (
    host TEXT NOT NULL,
    user_id TEXT NOT NULL,
    PRIMARY KEY (host, user_id)
);
)sql");
    CountChangesOf(db, "ip_filter_state", "UPDATE");
    CountChangesOf(db, "ip_filter_entries", "UPDATE");
}

// The HSM's current server master key, named by its fingerprint, and the M of N state of
// the partitions that left the initial one; a partition goes with its account.
void KeepMofNStates(Database &db, std::string_view) {
    db.Execute(R"sql(
CREATE TABLE svmk_state (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    fingerprint TEXT NOT NULL
);
CREATE TABLE mofn_partitions (
    user_id TEXT PRIMARY KEY REFERENCES users(id) ON DELETE CASCADE,
    state INTEGER NOT NULL,
    permissions INTEGER NOT NULL,
    set_fingerprint TEXT NOT NULL,
    association TEXT NOT NULL
);
)sql");
    CountChangesOf(db, "svmk_state", "UPDATE");
    CountChangesOf(db, "mofn_partitions", "UPDATE");
}

// The HSM's security policy word (default: the authorized state of M of N may be set online)
// and its cloud binding, one row while bound.
void KeepCloudState(Database &db, std::string_view) {
    db.Execute(R"sql(
CREATE TABLE security_policy (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    word INTEGER NOT NULL
);
INSERT INTO security_policy VALUES (1, 2);
CREATE TABLE cloud_binding (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    account TEXT NOT NULL,
    hsm_id TEXT NOT NULL,
    telemetry_url TEXT NOT NULL
);
)sql");
    CountChangesOf(db, "security_policy", "UPDATE");
}

// The EFT daemon's configuration: one row once it was first changed, the defaults before.
// A backup keeps it, so its changes are counted.
void CreateEftdConfig(Database &db, std::string_view) {
    db.Execute(R"sql(
CREATE TABLE eftd_config (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    header_length INTEGER NOT NULL,
    pin_length INTEGER NOT NULL,
    authorized INTEGER NOT NULL
);
)sql");
    for (const char *event : {"insert", "delete", "update"})
        db.Execute((std::string("CREATE TRIGGER eftd_config_") + event + "_counted AFTER " + event +
                    " ON eftd_config BEGIN UPDATE backup_state SET changes = changes + 1 "
                    "WHERE id = 1; END")
                       .c_str());
}

// This node's own view of its replication domain, never itself replicated: the other nodes
// (and whether an operator declared one down), the last transaction the domain committed
// here, and the journal of committed changes a node that was away catches up from.
void KeepReplicationState(Database &db, std::string_view) {
    db.Execute(R"sql(
CREATE TABLE replication_nodes (
    address TEXT PRIMARY KEY,
    down INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE replication_state (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    sync_point INTEGER NOT NULL
);
INSERT INTO replication_state VALUES (1, 0);
CREATE TABLE replication_journal (
    sequence INTEGER PRIMARY KEY,
    changeset BLOB NOT NULL
);
)sql");
}

using Step = void (*)(Database &db, std::string_view serial);

// Step n brings the file to user_version n. Append only: a released step never changes.
constexpr Step kSteps[] = {CreateAccounts, CreateObjects,    ChainEventLog,       IndexEventLog,
                           KeepLineTexts,  CountChanges,     FilterClientHosts,   KeepMofNStates,
                           KeepCloudState, CreateEftdConfig, KeepReplicationState};

int64_t Version(Database &db) {
    Statement read(db, "PRAGMA user_version");
    return read.Step() ? read.Int(0) : 0;
}

}  // namespace

void EnsureSchema(Database &db, std::string_view serial) {
    constexpr auto kKnown = static_cast<int64_t>(std::size(kSteps));
    for (;;) {
        // The version is read under the write lock: another process may be upgrading too.
        Transaction tx(db);
        int64_t version = Version(db);
        if (version > kKnown)
            throw StoreError("database schema " + std::to_string(version) + " is newer than " +
                             std::to_string(kKnown));
        if (version == kKnown) return;
        kSteps[version](db, serial);
        db.Execute(("PRAGMA user_version=" + std::to_string(version + 1)).c_str());
        tx.Commit();
    }
}

bool HoldsNewerSchema(Database &db) {
    return Version(db) > static_cast<int64_t>(std::size(kSteps));
}

}  // namespace sim
