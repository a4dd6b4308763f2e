// HSM information.

#include <cstring>

#include "abi_guard.h"
#include "info_record.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

// Copies an answer of `size` bytes, with a terminator for text that *length does not count.
[[nodiscard]] uint32_t PutInfo(const void *answer, size_t size, bool text, void *buffer,
                               uint32_t *length) {
    const size_t needed = size + (text ? 1 : 0);
    if (*length < needed) {
        *length = static_cast<uint32_t>(needed);
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, answer, size);
    if (text) static_cast<char *>(buffer)[size] = '\0';
    *length = static_cast<uint32_t>(size);
    return wire::OK;
}

// The flag word goes back as it came: the HSM answers no flags of its own for the kinds
// served.
[[nodiscard]] uint32_t GetHsmInfo(QSessionHandle handle, const uint32_t *flagWord, uint32_t kind,
                                  void *buffer, uint32_t *length) {
    if (flagWord == nullptr || buffer == nullptr || length == nullptr)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    switch (kind) {
        case Q_INFO_VERSION:
            return Remote<pb::GetVersionTextReply>(
                handle, pb::GetVersionText(), [&](const pb::GetVersionTextReply &reply) {
                    return PutInfo(reply.text().data(), reply.text().size(), true, buffer, length);
                });
        case Q_INFO_MODE:
            return Remote<pb::GetHsmModeReply>(
                handle, pb::GetHsmMode(), [&](const pb::GetHsmModeReply &reply) {
                    const uint32_t mode = reply.mode();
                    return PutInfo(&mode, sizeof mode, false, buffer, length);
                });
        case Q_INFO_STATUS:
            return Remote<pb::GetHsmStatusReply>(
                handle, pb::GetHsmStatus(), [&](const pb::GetHsmStatusReply &reply) {
                    QHsmInfoRecord record{};
                    LayOutHsmInfoRecord(reply, &record);
                    return PutInfo(&record, sizeof record, false, buffer, length);
                });
        case Q_INFO_UPTIME:
            return Remote<pb::GetUptimeReply>(
                handle, pb::GetUptime(), [&](const pb::GetUptimeReply &reply) {
                    const uint32_t answer[2] = {reply.uptime(), reply.battery()};
                    return PutInfo(answer, sizeof answer, false, buffer, length);
                });
        case Q_INFO_CLOCK:
            return Remote<pb::GetHsmClockReply>(
                handle, pb::GetHsmClock(), [&](const pb::GetHsmClockReply &reply) {
                    const uint64_t time = reply.time();
                    return PutInfo(&time, sizeof time, false, buffer, length);
                });
        case Q_INFO_REPLICATION:
            return Remote<pb::GetReplicationNodesReply>(
                handle, pb::GetReplicationNodes(), [&](const pb::GetReplicationNodesReply &reply) {
                    QReplicationNodes nodes{};
                    LayOutReplicationNodes(reply, &nodes);
                    return PutInfo(&nodes, sizeof nodes, false, buffer, length);
                });
        default:
            return Refuse(handle, wire::ERR_NOT_SUPPORTED);
    }
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QGetHsmInfo(QSessionHandle session, uint32_t *flagWord, uint32_t kind, void *buffer,
                     uint32_t *length, uint32_t) {
    return Guarded([&] { return qelvoarc::GetHsmInfo(session, flagWord, kind, buffer, length); });
}

}  // extern "C"
