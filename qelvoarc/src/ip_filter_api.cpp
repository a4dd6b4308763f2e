// The HSM's IP filter: its state and entries, read and changed.

#include <string>
#include <utility>
#include <vector>

#include "abi_guard.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

[[nodiscard]] uint32_t ReadFilter(QSessionHandle handle, QIPFilterCallback callback, void *context,
                                  uint32_t *status) {
    Entries entries;
    bool enabled = false;
    const uint32_t rc = Remote<pb::GetIpFilterReply>(
        handle, pb::GetIpFilter(), [&](const pb::GetIpFilterReply &reply) {
            enabled = reply.enabled();
            for (const pb::IpFilterEntry &entry : reply.entries())
                entries.emplace_back(entry.host(), entry.user());
        });
    if (rc != wire::OK) return rc;
    if (status != nullptr) *status = enabled ? 1 : 0;
    if (callback == nullptr) return wire::OK;
    for (const auto &[host, user] : entries)
        if (uint32_t stop = callback(host.c_str(), user.c_str(), context, 0); stop != 0)
            return stop;
    return callback("", "", context, 1);
}

[[nodiscard]] uint32_t ChangeEntry(QSessionHandle handle, uint32_t operation, const char *userId,
                                   const char *hostIp) {
    if (hostIp == nullptr || *hostIp == '\0') return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::IpFilterEntry entry;
    entry.set_host(hostIp);
    if (userId != nullptr) entry.set_user(userId);
    if (operation == Q_IPF_ADD) {
        pb::AddIpFilterEntry request;
        *request.mutable_entry() = std::move(entry);
        return Remote<pb::AddIpFilterEntryReply>(handle, std::move(request));
    }
    pb::RemoveIpFilterEntry request;
    *request.mutable_entry() = std::move(entry);
    return Remote<pb::RemoveIpFilterEntryReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t SetEnabled(QSessionHandle handle, bool enabled) {
    pb::SetIpFilterEnabled request;
    request.set_enabled(enabled);
    return Remote<pb::SetIpFilterEnabledReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t IpFilterOperation(QSessionHandle handle, uint32_t operation,
                                         const char *userId, const char *hostIp,
                                         QIPFilterCallback callback, void *context,
                                         uint32_t *status) {
    switch (operation) {
        case Q_IPF_STATUS:
            return ReadFilter(handle, callback, context, status);
        case Q_IPF_ADD:
        case Q_IPF_REMOVE:
            return ChangeEntry(handle, operation, userId, hostIp);
        case Q_IPF_ENABLE:
        case Q_IPF_DISABLE:
            return SetEnabled(handle, operation == Q_IPF_ENABLE);
        default:
            return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    }
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QIPFilterOperation(QSessionHandle session, uint32_t operation, const char *userId,
                            const char *hostIp, QIPFilterCallback callback, void *context,
                            uint32_t *status, uint32_t) {
    return Guarded([&] {
        return qelvoarc::IpFilterOperation(session, operation, userId, hostIp, callback, context,
                                           status);
    });
}

}  // extern "C"
