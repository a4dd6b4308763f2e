#include "store/eftd_config_store.h"

#include <string>

namespace sim {

namespace {

EftdConfig Read(Database &db) {
    Statement st(db, "SELECT header_length, pin_length, authorized FROM eftd_config WHERE id = 1");
    EftdConfig config;  // no row yet: the defaults
    if (!st.Step()) return config;
    config.headerLength = static_cast<uint8_t>(st.Int(0));
    config.pinLength = static_cast<uint8_t>(st.Int(1));
    config.authorized = st.Int(2) != 0;
    return config;
}

}  // namespace

EftdConfigStore::EftdConfigStore(const DatabaseFile &file, const EventLog &events)
    : db_(file), events_(events) {}

EftdConfig EftdConfigStore::Load() {
    std::lock_guard lock(mutex_);
    return Read(db_);
}

void EftdConfigStore::SetAuthorized(Actor actor, bool authorized) {
    std::lock_guard lock(mutex_);
    EftdConfig config = Read(db_);
    config.authorized = authorized;
    Save(actor, config,
         authorized ? "EFTd host commands authorized" : "EFTd host commands deauthorized");
}

void EftdConfigStore::SetHeaderLength(Actor actor, uint8_t length) {
    std::lock_guard lock(mutex_);
    EftdConfig config = Read(db_);
    config.headerLength = length;
    Save(actor, config, "EFTd message header length set to " + std::to_string(length));
}

void EftdConfigStore::SetPinLength(Actor actor, uint8_t length) {
    std::lock_guard lock(mutex_);
    EftdConfig config = Read(db_);
    config.pinLength = length;
    Save(actor, config, "EFTd PIN length set to " + std::to_string(length));
}

void EftdConfigStore::Reset(Actor actor) {
    std::lock_guard lock(mutex_);
    Save(actor, EftdConfig{}, "EFTd configuration reset");
}

// REQUIRES: mutex_ held.
void EftdConfigStore::Save(Actor actor, const EftdConfig &config, std::string_view change) {
    Transaction tx(db_);
    Statement(db_,
              "INSERT OR REPLACE INTO eftd_config (id, header_length, pin_length, authorized) "
              "VALUES (1, ?, ?, ?)")
        .Bind(1, int64_t{config.headerLength})
        .Bind(2, int64_t{config.pinLength})
        .Bind(3, int64_t{config.authorized ? 1 : 0})
        .Run();
    events_.Append(db_, actor, change, kEventOk);
    tx.Commit();
}

}  // namespace sim
