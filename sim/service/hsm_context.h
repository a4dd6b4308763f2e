#pragma once
// What every request handler may use, and the per-connection state it may change.

#include <memory>
#include <string>

#include "core/clock.h"
#include "core/diagnostic_log.h"
#include "crypto/master_key.h"
#include "policy/device_identity.h"
#include "policy/hardware_settings.h"
#include "session/session_table.h"
#include "store/access_token_store.h"
#include "store/backup_store.h"
#include "store/cloud_store.h"
#include "store/eftd_config_store.h"
#include "store/event_log.h"
#include "store/firmware_store.h"
#include "store/ip_filter_store.h"
#include "store/key_store.h"
#include "store/mofn_store.h"
#include "store/password_policy_store.h"
#include "store/user_store.h"

namespace sim {

class Replicator;
struct NodeEndpoint;

// Shared by all connections; every member is thread-safe. Owned by the daemon (or a test)
// and outlives every connection.
struct HsmContext {
    UserStore &users;
    const MasterKey &masterKey;
    SessionTable &sessions;
    const Clock &clock;
    const DeviceIdentity &identity;
    KeyStore &keys;
    AccessTokenStore &tokens;
    PasswordPolicyStore &policy;
    EventLog &events;
    DiagnosticLog &log;
    const HardwareSettings &hardware;
    FirmwareStore &firmware;
    BackupStore &backups;
    IpFilterStore &ipFilter;
    MofNStore &mofn;
    CloudStore &cloud;
    EftdConfigStore &eftd;
    Replicator *replication = nullptr;  // null when the HSM serves no other nodes (tests)
    // How this node reaches the others; set with `replication`.
    const NodeEndpoint *nodeEndpoint = nullptr;
};

class ReplyStream;

// Owned by one connection thread.
struct ConnectionState {
    std::shared_ptr<Session> session;  // null before login and after logout
    std::string peerCertificate;       // DER of the TLS client certificate; empty if none
    std::string peerAddress;           // the client's IP address
    bool tls = false;                  // the connection is encrypted
    bool closeAfterReply = false;      // set by a handler that must end the connection
    ReplyStream *replies = nullptr;    // set while a connection serves; null in direct calls
    std::string channelBinding;        // the TLS channel's exported keying material
};

}  // namespace sim
