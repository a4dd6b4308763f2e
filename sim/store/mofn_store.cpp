#include "store/mofn_store.h"

#include <sqlite3.h>

namespace sim {

MofNStore::MofNStore(const DatabaseFile &file, const EventLog &events)
    : db_(file), events_(events) {}

std::string MofNStore::CurrentSvmk() {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT fingerprint FROM svmk_state WHERE id = 1");
    return st.Step() ? st.Text(0) : std::string();
}

void MofNStore::SetCurrentSvmk(Actor actor, std::string_view fingerprint, std::string_view event) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "INSERT OR REPLACE INTO svmk_state (id, fingerprint) VALUES (1, ?)")
        .Bind(1, fingerprint)
        .Run();
    events_.Append(db_, actor, event, kEventOk);
    tx.Commit();
}

MofNPartition MofNStore::Read(std::string_view userId) {
    std::lock_guard lock(mutex_);
    Statement st(db_,
                 "SELECT state, permissions, set_fingerprint, association FROM mofn_partitions "
                 "WHERE user_id = ?");
    st.Bind(1, userId);
    MofNPartition partition;
    if (!st.Step()) return partition;
    partition.state = static_cast<MofNState>(st.Int(0));
    partition.permissions = static_cast<uint32_t>(st.Int(1));
    partition.setFingerprint = st.Text(2);
    partition.association = st.Text(3);
    return partition;
}

Result MofNStore::Write(Actor actor, std::string_view userId, const MofNPartition &partition,
                        std::string_view event) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement exists(db_, "SELECT 1 FROM users WHERE id = ?");
    exists.Bind(1, userId);
    if (!exists.Step()) return Result::kNotFound;
    Statement(db_,
              "INSERT OR REPLACE INTO mofn_partitions (user_id, state, permissions, "
              "set_fingerprint, association) VALUES (?, ?, ?, ?, ?)")
        .Bind(1, userId)
        .Bind(2, static_cast<int64_t>(partition.state))
        .Bind(3, int64_t{partition.permissions})
        .Bind(4, partition.setFingerprint)
        .Bind(5, partition.association)
        .Run();
    events_.Append(db_, actor, event, kEventOk);
    tx.Commit();
    return Result::kOk;
}

}  // namespace sim
