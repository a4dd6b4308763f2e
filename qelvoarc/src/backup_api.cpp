// Whole-HSM backup and restore: the HSM encrypts and checks the file; the library only moves
// it between the local file and the session, one part at a time.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "abi_guard.h"
#include "library_state.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

// What one request carries: the HSM's bound for a part.
constexpr uint32_t kPartBytes = 1u << 20;
// An option of the flags this library does not give a meaning to.
constexpr uint32_t kReservedFlag = 0x80000000u;

[[nodiscard]] bool WriteAll(int fd, const std::string &bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

// Reads the HSM's file into `fd` until the HSM has no more.
[[nodiscard]] uint32_t ReceiveBackup(Session &session, uint64_t id, int fd) {
    for (;;) {
        pb::ReadBackup request;
        request.set_transfer_id(id);
        request.set_length(kPartBytes);
        bool ended = false;
        uint32_t status = Remote<pb::ReadBackupReply>(
            session, std::move(request), [&](const pb::ReadBackupReply &reply) -> uint32_t {
                ended = reply.data().empty();
                return WriteAll(fd, reply.data()) ? wire::OK : wire::ERR_FILE;
            });
        if (status != wire::OK || ended) return status;
    }
}

[[nodiscard]] uint32_t CreateBackup(Session &session, const char *path, const char *password) {
    int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return wire::ERR_FILE;
    pb::StartBackup start;
    start.set_password(password);
    uint64_t id = 0;
    uint32_t status = Remote<pb::StartBackupReply>(
        session, std::move(start),
        [&](const pb::StartBackupReply &reply) { id = reply.transfer_id(); });
    if (status == wire::OK) status = ReceiveBackup(session, id, fd);
    if (status == wire::OK && ::fsync(fd) != 0) status = wire::ERR_FILE;
    if (::close(fd) != 0 && status == wire::OK) status = wire::ERR_FILE;
    if (id != 0) {
        // The HSM counts the backup as made only once the file is whole on disk.
        pb::EndBackup end;
        end.set_transfer_id(id);
        end.set_complete(status == wire::OK);
        const uint32_t ended = Remote<pb::EndBackupReply>(session, std::move(end));
        if (status == wire::OK) status = ended;
    }
    if (status != wire::OK) ::unlink(path);
    return status;
}

// Parts sent ahead of their replies: the HSM decrypts and writes one while the next travel,
// and the first wait in the socket while it derives the file's keys. The replies are a few
// bytes each, so they cannot fill the socket the other way while this side sends.
constexpr int kPartsAhead = 3;

// The status a WriteRestore reply carries.
[[nodiscard]] uint32_t WriteRestoreStatus(const pb::Response &reply) {
    if (reply.status() != wire::OK) return reply.status();
    return reply.body_case() == pb::Response::kWriteRestore ? wire::OK : wire::ERR_PROTOCOL;
}

// Streams the file's parts; after the first refusal it sends no more and reads the replies
// still owed, so that the session stays usable.
[[nodiscard]] uint32_t SendParts(Connection &connection, uint64_t id, int fd) {
    pb::Request request;
    // The file is read straight into the request: a part is copied once, into the frame.
    std::string &part = *request.mutable_write_restore()->mutable_data();
    pb::Response reply;
    uint32_t status = wire::OK;
    int owed = 0;
    for (bool sending = true; sending || owed > 0;) {
        if (sending && owed < kPartsAhead) {
            part.resize(kPartBytes);
            const ssize_t n = ::read(fd, part.data(), part.size());
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) status = wire::ERR_FILE;
            if (n <= 0) {
                sending = false;
                continue;
            }
            request.mutable_write_restore()->set_transfer_id(id);
            part.resize(static_cast<size_t>(n));
            if (const uint32_t sent = connection.Send(request); sent != wire::OK) return sent;
            ++owed;
            continue;
        }
        reply.Clear();
        if (const uint32_t got = connection.Receive(&reply); got != wire::OK) return got;
        --owed;
        if (status == wire::OK) status = WriteRestoreStatus(reply);
        if (status != wire::OK) sending = false;
    }
    return status;
}

[[nodiscard]] uint32_t SendRestore(Session &session, uint64_t id, int fd) {
    const uint32_t status = session.WithConnection(
        [&](Connection &connection) { return SendParts(connection, id, fd); });
    if (status != wire::OK) return status;
    pb::FinishRestore finish;
    finish.set_transfer_id(id);
    return Remote<pb::FinishRestoreReply>(session, std::move(finish));
}

[[nodiscard]] uint32_t RestoreBackup(Session &session, const char *path, const char *password,
                                     uint32_t network) {
    int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return wire::ERR_FILE;
    pb::StartRestore start;
    start.set_password(password);
    start.set_network(network);
    uint64_t id = 0;
    uint32_t status = Remote<pb::StartRestoreReply>(
        session, std::move(start),
        [&](const pb::StartRestoreReply &reply) { id = reply.transfer_id(); });
    if (status == wire::OK) status = SendRestore(session, id, fd);
    ::close(fd);
    return status;
}

[[nodiscard]] uint32_t BackupData(QSessionHandle handle, const char *path, const char *password,
                                  uint32_t flags) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    flags &= ~kReservedFlag;
    if (path == nullptr || password == nullptr || *path == '\0' ||
        flags > Q_BACKUP_RESTORE_NO_NETWORK)
        return wire::ERR_INVALID_PARAMETER;
    if (flags == Q_BACKUP_CREATE) return CreateBackup(*session, path, password);
    return RestoreBackup(*session, path, password, flags);
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QBackupData(QSessionHandle session, const char *localPath, const char *password,
                     uint32_t flags) {
    return qelvoarc::Guarded(
        [&] { return qelvoarc::BackupData(session, localPath, password, flags); });
}

}  // extern "C"
