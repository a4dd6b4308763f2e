#pragma once
// One authenticated session. Only the connection that owns it touches it after login, so
// it needs no lock of its own.

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "crypto/hash_context.h"
#include "store/backup_transfer.h"
#include "store/log_download.h"

namespace sim {

// How the session's user proved who they are. Secrets kept for a second factor are handed
// out only to a session that showed that factor.
enum class LoginProof {
    kNone,  // anonymous
    kPassword,
    kPasswordAndOtp,  // the user's own OATH token
    kMutualTls,       // the user's own certificate
    kAccessToken,
};

// Where, when and how a session was opened, as the session list shows it.
struct SessionOrigin {
    std::string address;    // the client's IP address
    bool tls = false;       // false: a clear-text connection
    int64_t startTime = 0;  // seconds since 1970, UTC
    LoginProof proof = LoginProof::kNone;
};

enum class SessionKind {
    kUser,           // full rights as the user's ACL allows
    kAnonymous,      // information reads and liveness only
    kPasswordChange  // expired password: change it, liveness, logout
};

struct Session {
    uint64_t id = 0;
    std::string user;
    SessionKind kind = SessionKind::kUser;
    bool byAccessToken = false;
    SessionOrigin origin;
    // Set from another connection when the session's user is removed; the owner then ends
    // the session at its next request.
    std::atomic<bool> ended{false};
    std::map<uint64_t, std::unique_ptr<HashContext>> hashes;
    std::map<uint64_t, std::unique_ptr<LogDownload>> logDownloads;
    uint64_t lastLogDownload = 0;
    // At most one backup and one restore at a time; a new one replaces the session's last.
    std::unique_ptr<BackupTransfer> backup;
    std::unique_ptr<RestoreTransfer> restore;
    uint64_t lastTransfer = 0;
    // The association (MofNPartition::association) under which the custodians authorized
    // this session on its partition; empty when they have not.
    std::string mofnSessionGrant;
};

// A session holds at most this many hash contexts at once.
inline constexpr size_t kMaxHashesPerSession = 64;

}  // namespace sim
