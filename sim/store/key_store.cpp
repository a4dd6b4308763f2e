#include "store/key_store.h"

namespace sim {

namespace {

constexpr const char *kColumns =
    "SELECT id, owner, name, kind, algorithm, attributes, length, public_exponent, created, "
    "label, target, target_type, second, second_type, p11_label, generated, blocked";

StoredObject ReadRow(const Statement &st) {
    StoredObject object;
    object.id = st.Int(0);
    object.owner = st.Text(1);
    object.name = st.Text(2);
    object.kind = static_cast<ObjectKind>(st.Int(3));
    object.algorithm = static_cast<uint32_t>(st.Int(4));
    object.attributes = static_cast<uint32_t>(st.Int(5));
    object.length = static_cast<uint32_t>(st.Int(6));
    object.publicExponent = st.Blob(7);
    object.created = st.Int(8);
    object.label = st.Text(9);
    object.target = st.Text(10);
    object.targetType = static_cast<uint32_t>(st.Int(11));
    object.second = st.Text(12);
    object.secondType = static_cast<uint32_t>(st.Int(13));
    object.p11Label = st.Text(14);
    object.generated = st.Int(15) != 0;
    object.blocked = st.Int(16) != 0;
    return object;
}

// Counts a change once it is over, committed or not: a reader that sees the new generation
// began after the commit, so its own connection shows the change.
class CountChangeWhenOver {
  public:
    explicit CountChangeWhenOver(std::atomic<uint64_t> &generation) : generation_(generation) {}
    ~CountChangeWhenOver() { generation_.fetch_add(1, std::memory_order_acq_rel); }

  private:
    std::atomic<uint64_t> &generation_;
};

}  // namespace

KeyStore::KeyStore(const DatabaseFile &file, const Clock &clock, const EventLog &events)
    : db_(file), reader_(file), clock_(clock), events_(events) {}

Result KeyStore::Insert(Actor actor, StoredObject *object, std::string_view event) {
    const CountChangeWhenOver counted(generation_);
    return inserts_.Run([&] {
        if (Result r = InsertLocked(object); r != Result::kOk) return r;
        LogLocked(actor, object->owner, event);
        return Result::kOk;
    });
}

Result KeyStore::InsertAll(Actor actor, std::vector<StoredObject> *objects,
                           std::string_view event) {
    const CountChangeWhenOver counted(generation_);
    return inserts_.Run([&] {
        for (StoredObject &object : *objects) {
            if (Result r = InsertLocked(&object); r != Result::kOk) return r;
            LogLocked(actor, object.owner, std::string(event) + ": " + object.name);
        }
        return Result::kOk;
    });
}

Result KeyStore::InsertLocked(StoredObject *object) {
    if (object->name.empty() || object->name.size() > kMaxObjectNameLength)
        return Result::kInvalidParameter;
    Statement exists(db_, "SELECT 1 FROM objects WHERE owner = ? AND name = ?");
    exists.Bind(1, object->owner).Bind(2, object->name);
    if (exists.Step()) return Result::kAlreadyExists;
    object->created = clock_.Now();
    Statement insert(db_,
                     "INSERT INTO objects (owner, name, kind, algorithm, attributes, length, "
                     "sealed, public_exponent, created, label, target, target_type, second, "
                     "second_type, p11_label, generated, blocked, certificate) "
                     "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    insert.Bind(1, object->owner)
        .Bind(2, object->name)
        .Bind(3, static_cast<int64_t>(object->kind))
        .Bind(4, int64_t{object->algorithm})
        .Bind(5, int64_t{object->attributes})
        .Bind(6, int64_t{object->length})
        .BindBlob(7, object->sealed)
        .BindBlob(8, object->publicExponent)
        .Bind(9, object->created)
        .Bind(10, object->label)
        .Bind(11, object->target)
        .Bind(12, int64_t{object->targetType})
        .Bind(13, object->second)
        .Bind(14, int64_t{object->secondType})
        .Bind(15, object->p11Label)
        .Bind(16, int64_t{object->generated})
        .Bind(17, int64_t{object->blocked})
        .BindBlob(18, object->certificate)
        .Run();
    object->id = sqlite3_last_insert_rowid(db_.handle());
    return Result::kOk;
}

std::optional<StoredObject> KeyStore::Find(std::string_view owner, std::string_view name,
                                           bool withSecret) {
    std::lock_guard lock(readMutex_);
    std::string sql =
        std::string(kColumns) + ", certificate, sealed FROM objects WHERE owner = ? AND name = ?";
    Statement st(reader_, sql.c_str());
    st.Bind(1, owner).Bind(2, name);
    if (!st.Step()) return std::nullopt;
    StoredObject object = ReadRow(st);
    object.certificate = st.Blob(17);
    if (withSecret) object.sealed = st.Blob(18);
    return object;
}

std::vector<StoredObject> KeyStore::List(std::string_view owner, uint32_t kind) {
    std::lock_guard lock(readMutex_);
    std::string sql = std::string(kColumns) +
                      " FROM objects WHERE owner = ? AND (? = 0 OR kind = ?) ORDER BY name";
    Statement st(reader_, sql.c_str());
    st.Bind(1, owner).Bind(2, int64_t{kind}).Bind(3, int64_t{kind});
    std::vector<StoredObject> objects;
    while (st.Step())
        objects.push_back(ReadRow(st));
    return objects;
}

Result KeyStore::Remove(Actor actor, std::string_view owner, std::string_view name) {
    const CountChangeWhenOver counted(generation_);
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "DELETE FROM objects WHERE owner = ? AND name = ?")
        .Bind(1, owner)
        .Bind(2, name)
        .Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    LogLocked(actor, owner, "Object removed: " + std::string(name));
    tx.Commit();
    return Result::kOk;
}

Result KeyStore::SetLabel(Actor actor, std::string_view owner, std::string_view name,
                          std::string_view label) {
    const CountChangeWhenOver counted(generation_);
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "UPDATE objects SET label = ? WHERE owner = ? AND name = ?")
        .Bind(1, label)
        .Bind(2, owner)
        .Bind(3, name)
        .Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    LogLocked(actor, owner, "Object metadata written: " + std::string(name));
    tx.Commit();
    return Result::kOk;
}

Result KeyStore::SetBlocked(Actor actor, const StoredObject &key, bool blocked) {
    const CountChangeWhenOver counted(generation_);
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "UPDATE objects SET blocked = ? WHERE id = ? AND kind = ?")
        .Bind(1, int64_t{blocked})
        .Bind(2, key.id)
        .Bind(3, static_cast<int64_t>(ObjectKind::kKey))
        .Run();
    if (sqlite3_changes(db_.handle()) == 0) return Result::kNotFound;
    LogLocked(actor, key.owner, (blocked ? "Key blocked: " : "Key unblocked: ") + key.name);
    tx.Commit();
    return Result::kOk;
}

std::string KeyStore::FirstPkcs11MapOf(std::string_view owner, std::string_view name) {
    std::lock_guard lock(readMutex_);
    // Left to itself SQLite walks the whole partition in name order to skip a sort; every
    // key the partition gets then costs more. Sorting the few maps found by kind does not.
    Statement st(reader_,
                 "SELECT name FROM objects INDEXED BY objects_owner_kind WHERE owner = ? AND "
                 "kind = ? AND (target = ? OR second = ?) ORDER BY name LIMIT 1");
    st.Bind(1, owner)
        .Bind(2, static_cast<int64_t>(ObjectKind::kPkcs11Map))
        .Bind(3, name)
        .Bind(4, name);
    return st.Step() ? st.Text(0) : std::string();
}

void KeyStore::RemoveAll(Actor actor, std::string_view owner) {
    const CountChangeWhenOver counted(generation_);
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "DELETE FROM objects WHERE owner = ?").Bind(1, owner).Run();
    if (int removed = sqlite3_changes(db_.handle()); removed != 0)
        LogLocked(actor, owner, "Objects removed: " + std::to_string(removed));
    tx.Commit();
}

std::vector<ObjectCount> KeyStore::CountByKind(std::string_view owner) {
    std::lock_guard lock(readMutex_);
    Statement st(reader_,
                 "SELECT kind, COUNT(*) FROM objects WHERE owner = ? GROUP BY kind ORDER BY kind");
    st.Bind(1, owner);
    std::vector<ObjectCount> counts;
    while (st.Step())
        counts.push_back({static_cast<uint32_t>(st.Int(0)), static_cast<uint64_t>(st.Int(1))});
    return counts;
}

uint64_t KeyStore::CountAll() {
    std::lock_guard lock(readMutex_);
    Statement st(reader_, "SELECT COUNT(*) FROM objects");
    return st.Step() ? static_cast<uint64_t>(st.Int(0)) : 0;
}

void KeyStore::LogLocked(Actor actor, std::string_view owner, std::string_view operation) {
    if (actor.id() == owner) {
        events_.Append(db_, actor, operation, kEventOk);
        return;
    }
    events_.Append(db_, actor,
                   std::string(operation) + " (partition of " + std::string(owner) + ")", kEventOk);
}

}  // namespace sim
