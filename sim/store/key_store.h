#pragma once
// The objects of every user's partition: keys (material sealed under the master key, the
// partition and the name), certificates, map objects and PKCS#11 maps. Names are unique per
// partition. Thread-safe: changes run under one mutex on one SQLite connection, reads under
// another on a second, and each change commits together with its event-log line, whose user
// is the change's actor. Concurrent inserts share one commit.

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "constants.pb.h"
#include "core/clock.h"
#include "core/result.h"
#include "store/database.h"
#include "store/event_log.h"
#include "store/group_commit.h"
#include "store/partition_members.h"

namespace sim {

inline constexpr size_t kMaxObjectNameLength = 49;

// The protocol's object kinds, which are also what the objects table stores.
enum class ObjectKind : uint32_t {
    kKey = wire::pb::OBJECT_KEY,
    kMap = wire::pb::OBJECT_MAP,
    kPkcs11Map = wire::pb::OBJECT_PKCS11_MAP,
    kCertificate = wire::pb::OBJECT_CERTIFICATE,
    kSecret = wire::pb::OBJECT_SECRET,
};

struct StoredObject {
    int64_t id = 0;  // assigned by Insert; never reused
    std::string owner;
    std::string name;
    ObjectKind kind = ObjectKind::kKey;
    uint32_t algorithm = 0;
    uint32_t attributes = 0;
    uint32_t length = 0;
    std::string sealed;  // keys and secrets: material sealed under the master key; else empty
    std::string publicExponent;
    int64_t created = 0;
    std::string label;        // metadata label
    std::string target;       // maps: first slot; PKCS#11 maps: the key
    uint32_t targetType = 0;  // maps: the target's type; secrets: the authentication type
    std::string second;       // maps: second slot; PKCS#11 maps: the certificate
    uint32_t secondType = 0;
    std::string p11Label;     // PKCS#11 maps: CKA_LABEL
    bool generated = false;   // keys: made inside the HSM (not imported)
    bool blocked = false;     // keys: refused for export and use
    std::string certificate;  // certificates: the DER
};

class KeyStore {
  public:
    // REQUIRES: the schema exists (EnsureSchema). `clock` and `events` must outlive the
    // store.
    KeyStore(const DatabaseFile &file, const Clock &clock, const EventLog &events);

    // Stores a new object and sets object->id and object->created; `event` is the operation
    // its log line names. kAlreadyExists when the partition holds the name.
    Result Insert(Actor actor, StoredObject *object, std::string_view event);
    // Stores many objects in one transaction (bulk provisioning), one log line each; all or
    // none.
    Result InsertAll(Actor actor, std::vector<StoredObject> *objects, std::string_view event);
    // With `withSecret` false the sealed material is left out.
    std::optional<StoredObject> Find(std::string_view owner, std::string_view name,
                                     bool withSecret);
    // The partition's objects in name order, without material; kind 0 = every kind.
    std::vector<StoredObject> List(std::string_view owner, uint32_t kind);
    Result Remove(Actor actor, std::string_view owner, std::string_view name);
    Result SetLabel(Actor actor, std::string_view owner, std::string_view name,
                    std::string_view label);
    // Blocks or unblocks `key` (found by its id); kNotFound when it is gone meanwhile.
    Result SetBlocked(Actor actor, const StoredObject &key, bool blocked);
    // The first PKCS#11 map (by name) of the partition whose target or certificate is
    // `name`; empty when there is none.
    std::string FirstPkcs11MapOf(std::string_view owner, std::string_view name);
    // Every object of a partition, for the removal of its user.
    void RemoveAll(Actor actor, std::string_view owner);
    // The partition's object totals, one entry per kind it holds, in kind order.
    std::vector<ObjectCount> CountByKind(std::string_view owner);
    // The objects of every partition.
    uint64_t CountAll();

    // Grows with every change this store makes, once the change is over, so that a copy of
    // an object read at one value is current for as long as the value stays. Changes made to
    // the file by another process are not counted.
    uint64_t Generation() const { return generation_.load(std::memory_order_acquire); }
    // Counts a change another connection committed to the objects (a replicated one), so
    // that copies read before it are read again.
    void CountOutsideChange() { generation_.fetch_add(1, std::memory_order_acq_rel); }

  private:
    // REQUIRES: mutex_ held, inside a transaction.
    Result InsertLocked(StoredObject *object);
    // Logs `operation` on the partition of `owner` as done by `actor`; the line names the
    // partition when it is not the actor's own. REQUIRES: mutex_ held, inside a transaction.
    void LogLocked(Actor actor, std::string_view owner, std::string_view operation);

    std::mutex mutex_;
    Database db_;  // guarded by mutex_: every change
    GroupCommit inserts_{db_, mutex_};
    // Reads have a connection of their own: in WAL mode they see what was committed last and
    // never wait for a change, whose commit may wait for the other nodes of a domain.
    std::mutex readMutex_;
    Database reader_;  // guarded by readMutex_
    const Clock &clock_;
    const EventLog &events_;
    std::atomic<uint64_t> generation_{0};
};

}  // namespace sim
