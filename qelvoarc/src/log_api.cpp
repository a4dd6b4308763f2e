// The HSM's event log: its size, reads by offset, downloads, the clear and the follow. The
// text's layout is that of sim/store/event_log_format.md.

#include <algorithm>
#include <cstring>

#include "abi_guard.h"
#include "library_memory.h"
#include "library_state.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

constexpr uint32_t kMaxStatLogBytes = Q_LOG_STAT_MAX;

[[nodiscard]] uint32_t GetStatLogSize(QSessionHandle handle, uint32_t *size) {
    if (size == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    return Remote<pb::GetLogSizeReply>(handle, pb::GetLogSize(),
                                       [&](const pb::GetLogSizeReply &reply) -> uint32_t {
                                           if (reply.size() > UINT32_MAX)
                                               return wire::ERR_INVALID_LENGTH;
                                           *size = static_cast<uint32_t>(reply.size());
                                           return wire::OK;
                                       });
}

[[nodiscard]] uint32_t GetStatLog(QSessionHandle handle, uint32_t offset, uint32_t length,
                                  uint8_t **data, uint32_t *dataLength) {
    if (data == nullptr || dataLength == nullptr)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    if (length == 0 || length > kMaxStatLogBytes) return Refuse(handle, wire::ERR_INVALID_LENGTH);
    pb::ReadLog request;
    request.set_offset(offset);
    request.set_length(length);
    return Remote<pb::ReadLogReply>(
        handle, std::move(request), [&](const pb::ReadLogReply &reply) -> uint32_t {
            // One byte at least, so that a read at the log's end still hands out memory.
            auto *copy = static_cast<uint8_t *>(
                AllocateLibraryMemory(std::max<size_t>(reply.data().size(), 1)));
            if (copy == nullptr) return wire::ERR_NO_MEMORY;
            std::memcpy(copy, reply.data().data(), reply.data().size());
            *data = copy;
            *dataLength = static_cast<uint32_t>(reply.data().size());
            return wire::OK;
        });
}

[[nodiscard]] uint32_t GetHSMLogInit(QSessionHandle handle, uint32_t reserved, int32_t selector,
                                     QLogHandle *log) {
    if (log == nullptr || reserved != 0) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    pb::StartLogDownload request;
    request.set_selector(selector);
    uint64_t remoteId = 0;
    status = Remote<pb::StartLogDownloadReply>(
        *session, std::move(request),
        [&](const pb::StartLogDownloadReply &reply) { remoteId = reply.download_id(); });
    if (status != wire::OK) return status;
    *log = LibraryState::Get().logs.Add(
        std::make_shared<LogDownload>(LogDownload{std::move(session), remoteId, std::nullopt}));
    return wire::OK;
}

std::shared_ptr<LogDownload> FindLog(QLogHandle handle, uint32_t *status) {
    if (!LibraryState::Get().initialized()) {
        *status = wire::ERR_NOT_INITIALIZED;
        return nullptr;
    }
    std::shared_ptr<LogDownload> log = LibraryState::Get().logs.Find(handle);
    *status = log == nullptr ? wire::ERR_INVALID_HANDLE : wire::OK;
    return log;
}

// Reads the reply to a chunk request.
LogChunk ReadChunk(Connection &connection) {
    LogChunk chunk;
    pb::Response response;
    chunk.status = connection.Receive(&response);
    if (chunk.status == wire::OK) chunk.status = response.status();
    // An empty chunk may come without its body.
    if (chunk.status == wire::OK && response.body_case() != pb::Response::kReadLogDownload &&
        response.body_case() != pb::Response::BODY_NOT_SET)
        chunk.status = wire::ERR_PROTOCOL;
    if (chunk.status == wire::OK)
        chunk.bytes = std::move(*response.mutable_read_log_download()->mutable_data());
    if (chunk.bytes.size() > Q_LOG_CHUNK_SIZE) chunk = {wire::ERR_PROTOCOL, {}, 0};
    return chunk;
}

uint32_t SendChunkRequest(Connection &connection, const LogDownload &log) {
    pb::Request request;
    request.mutable_read_log_download()->set_download_id(log.remoteId);
    request.mutable_read_log_download()->set_length(Q_LOG_CHUNK_SIZE);
    return connection.Send(request);
}

// Hands out the next bytes of the download. Once a chunk is handed out whole, the next one is
// asked for at once, so the HSM reads and sends it while the caller writes this one out; the
// session reads its reply before whatever exchange comes next.
[[nodiscard]] uint32_t GetHSMLogCont(QLogHandle handle, uint8_t *buffer, uint32_t *length) {
    uint32_t status;
    std::shared_ptr<LogDownload> log = FindLog(handle, &status);
    if (log == nullptr) return status;
    if (buffer == nullptr || length == nullptr) return wire::ERR_INVALID_PARAMETER;
    if (*length == 0) return wire::ERR_INVALID_LENGTH;
    return log->session->WithConnection([&](Connection &connection) -> uint32_t {
        if (!log->chunk) {
            status = SendChunkRequest(connection, *log);
            log->chunk = status == wire::OK ? ReadChunk(connection) : LogChunk{status, {}, 0};
        }
        LogChunk &chunk = *log->chunk;
        if (chunk.status != wire::OK) {
            status = chunk.status;
            log->chunk.reset();
            return status;
        }
        const size_t count = std::min<size_t>(*length, chunk.bytes.size() - chunk.taken);
        std::memcpy(buffer, chunk.bytes.data() + chunk.taken, count);
        chunk.taken += count;
        *length = static_cast<uint32_t>(count);
        if (chunk.taken < chunk.bytes.size()) return wire::OK;
        log->chunk.reset();
        // An empty chunk is the end: nothing more to ask for.
        if (count > 0 && SendChunkRequest(connection, *log) == wire::OK)
            log->session->OweReply([ahead = std::weak_ptr<LogDownload>(log)](Connection &owing) {
                LogChunk next = ReadChunk(owing);
                if (std::shared_ptr<LogDownload> owner = ahead.lock())
                    owner->chunk = std::move(next);
            });
        return wire::OK;
    });
}

[[nodiscard]] uint32_t GetHSMLogEnd(QLogHandle handle) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    std::shared_ptr<LogDownload> log = LibraryState::Get().logs.Remove(handle);
    if (log == nullptr) return wire::ERR_INVALID_HANDLE;
    pb::EndLogDownload request;
    request.set_download_id(log->remoteId);
    uint32_t status = Remote<pb::EndLogDownloadReply>(*log->session, std::move(request));
    // The handle is released either way; a session closed or lost meanwhile took the
    // download on the HSM with it.
    if (status == wire::ERR_INVALID_HANDLE || status == wire::ERR_CONNECTION_LOST) return wire::OK;
    return status;
}

// Hands each frame's lines to the callback until it asks to stop, then stops the HSM's side
// and reads up to its last frame, so that the session stays usable.
[[nodiscard]] uint32_t Follow(Connection &connection, QLogEventCallback callback, void *context) {
    pb::Request request;
    request.mutable_follow_log();
    uint32_t status = connection.Send(request);
    uint32_t stopped = 0;
    pb::Response frame;
    while (status == wire::OK) {
        frame.Clear();
        status = connection.Receive(&frame);
        if (status == wire::OK) status = frame.status();
        if (status == wire::OK && frame.body_case() != pb::Response::kFollowLog)
            status = wire::ERR_PROTOCOL;
        if (status != wire::OK || frame.follow_log().stopped()) break;
        for (int i = 0; stopped == 0 && i < frame.follow_log().lines_size(); ++i)
            stopped = callback(frame.follow_log().lines(i).c_str(), context);
        if (stopped != 0 && status == wire::OK) {
            request.mutable_stop_following_log();
            status = connection.Send(request);
            // Frames already on their way are read and dropped until the last one.
            callback = [](const char *, void *) -> uint32_t { return 0; };
        }
    }
    return status == wire::OK ? stopped : status;
}

[[nodiscard]] uint32_t GetLogEvents(QSessionHandle handle, QLogEventCallback callback,
                                    void *context) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (callback == nullptr) return wire::ERR_INVALID_PARAMETER;
    return session->WithConnection(
        [&](Connection &connection) { return Follow(connection, callback, context); });
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QGetLogEvents(QSessionHandle session, QLogEventCallback callback, void *context,
                       uint32_t) {
    return Guarded([&] { return qelvoarc::GetLogEvents(session, callback, context); });
}

uint32_t QTruncateLog(QSessionHandle session, uint32_t) {
    return Guarded([&] {
        return qelvoarc::Remote<qelvoarc::pb::ClearLogReply>(session, qelvoarc::pb::ClearLog());
    });
}

uint32_t QGetStatLog(QSessionHandle session, uint32_t offset, uint32_t length, uint8_t **data,
                     uint32_t *dataLength, uint32_t) {
    return Guarded([&] { return qelvoarc::GetStatLog(session, offset, length, data, dataLength); });
}

uint32_t QGetStatLogSize(QSessionHandle session, uint32_t *size, uint32_t) {
    return Guarded([&] { return qelvoarc::GetStatLogSize(session, size); });
}

uint32_t QGetHSMLogInit(QSessionHandle session, uint32_t reserved, int32_t selector,
                        QLogHandle *log, uint32_t) {
    return Guarded([&] { return qelvoarc::GetHSMLogInit(session, reserved, selector, log); });
}

uint32_t QGetHSMLogCont(QLogHandle log, uint8_t *buffer, uint32_t *length) {
    return Guarded([&] { return qelvoarc::GetHSMLogCont(log, buffer, length); });
}

uint32_t QGetHSMLogEnd(QLogHandle log) {
    return Guarded([&] { return qelvoarc::GetHSMLogEnd(log); });
}

}  // extern "C"
