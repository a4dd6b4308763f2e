#include "store/cloud_store.h"

#include <cstdio>

namespace sim {

CloudStore::CloudStore(const DatabaseFile &file, const EventLog &events)
    : db_(file), events_(events) {}

uint32_t CloudStore::SecurityPolicy() {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT word FROM security_policy WHERE id = 1");
    return st.Step() ? static_cast<uint32_t>(st.Int(0)) : 0;
}

void CloudStore::SetSecurityPolicy(Actor actor, uint32_t word) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    Statement(db_, "UPDATE security_policy SET word = ? WHERE id = 1").Bind(1, int64_t{word}).Run();
    char text[48];
    std::snprintf(text, sizeof text, "Security policy set: 0x%X", word);
    events_.Append(db_, actor, text, kEventOk);
    tx.Commit();
}

std::optional<CloudBinding> CloudStore::Binding() {
    std::lock_guard lock(mutex_);
    Statement st(db_, "SELECT account, hsm_id, telemetry_url FROM cloud_binding WHERE id = 1");
    if (!st.Step()) return std::nullopt;
    return CloudBinding{st.Text(0), st.Text(1), st.Text(2)};
}

bool CloudStore::Bind(Actor actor, const CloudBinding &binding) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    if (Statement(db_, "SELECT 1 FROM cloud_binding").Step()) return false;
    Statement(db_, "INSERT INTO cloud_binding VALUES (1, ?, ?, ?)")
        .Bind(1, binding.account)
        .Bind(2, binding.hsmId)
        .Bind(3, binding.telemetryUrl)
        .Run();
    events_.Append(db_, actor, "HSM bound to cloud account " + binding.account, kEventOk);
    tx.Commit();
    return true;
}

bool CloudStore::Unbind(Actor actor) {
    std::lock_guard lock(mutex_);
    Transaction tx(db_);
    if (!Statement(db_, "SELECT 1 FROM cloud_binding").Step()) return false;
    Statement(db_, "DELETE FROM cloud_binding").Run();
    events_.Append(db_, actor, "HSM unbound from the cloud", kEventOk);
    tx.Commit();
    return true;
}

}  // namespace sim
