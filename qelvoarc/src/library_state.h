#pragma once
// Process-wide state of the library: initialisation and the handle tables.

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "handle_table.h"
#include "key_object.h"
#include "session.h"

namespace qelvoarc {

// A hash context living on the HSM, reached through its session.
struct HashContext {
    std::shared_ptr<Session> session;
    uint64_t remoteId;
    uint32_t digestSize;  // fixed by the algorithm, so reading it needs no round trip
};

// The HSM's PKCS#11 information as one QGetHSMP11Info read it; its attributes are answered
// from here.
struct P11Info {
    pb::GetP11InfoReply values;
};

// The reply to one chunk request of a log download: its status and the bytes not yet handed
// to the caller.
struct LogChunk {
    uint32_t status = 0;
    std::string bytes;
    size_t taken = 0;
};

// A download of the HSM's log, reached through its session.
struct LogDownload {
    std::shared_ptr<Session> session;
    uint64_t remoteId;
    // The chunk read and not yet handed out whole: the one asked for ahead, once its session
    // collected the reply. Touched only under the session's lock.
    std::optional<LogChunk> chunk;
};

class LibraryState {
  public:
    static LibraryState &Get();

    // Counted: each successful Initialize needs one Finalize.
    [[nodiscard]] uint32_t Initialize();
    // The last Finalize closes every session and releases every handle.
    [[nodiscard]] uint32_t Finalize();
    bool initialized() const { return initialized_.load(std::memory_order_acquire); }

    HandleTable<Session> sessions;
    HandleTable<HashContext> hashes;
    HandleTable<KeyObject> keys;
    HandleTable<ObjMetadata> metadata;
    HandleTable<P11Info> p11Infos;
    HandleTable<LogDownload> logs;

  private:
    mutable std::mutex mutex_;
    unsigned initCount_ = 0;
    std::atomic<bool> initialized_{false};  // read on every call without the lock
};

// The session of a handle, or null (with *status set) when the library is not initialised
// or the handle is not a live session.
std::shared_ptr<Session> FindSession(uint64_t handle, uint32_t *status);

}  // namespace qelvoarc
