// What the HSM's machine measures and runs: resources, network, modules and sessions.

#include "abi_guard.h"
#include "callback_delivery.h"
#include "info_record.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

[[nodiscard]] uint32_t GetStatInfo(QSessionHandle handle, QStatInfo *stats) {
    if (stats == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    return Remote<pb::GetStatInfoReply>(
        handle, pb::GetStatInfo(), [&](const pb::GetStatInfoReply &reply) {
            *stats =
                QStatInfo{reply.sessions(),         reply.cpu_percent(),     reply.load_average(),
                          reply.memory_total_kib(), reply.memory_used_kib(), reply.swap_total_kib(),
                          reply.swap_used_kib()};
        });
}

[[nodiscard]] uint32_t GetNetInfo(QSessionHandle handle, QNetInfo *info) {
    if (info == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    return Remote<pb::GetNetInfoReply>(handle, pb::GetNetInfo(),
                                       [&](const pb::GetNetInfoReply &reply) {
                                           QNetInfo laidOut{};
                                           LayOutNetInfo(reply, &laidOut);
                                           *info = laidOut;
                                       });
}

[[nodiscard]] uint32_t ListLoadedModules(QSessionHandle handle, QNameCallback callback,
                                         void *context) {
    if (callback == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    std::vector<std::string> modules;
    const uint32_t status = Remote<pb::ListLoadedModulesReply>(
        handle, pb::ListLoadedModules(), [&](const pb::ListLoadedModulesReply &reply) {
            modules.assign(reply.modules().begin(), reply.modules().end());
        });
    return status == wire::OK ? DeliverNames(modules, callback, context) : status;
}

struct SessionLine {
    uint64_t startTime;
    std::string description;
};

[[nodiscard]] uint32_t ListUserSessions(QSessionHandle handle, QUserSessionCallback callback,
                                        void *context) {
    if (callback == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    std::vector<SessionLine> lines;
    const uint32_t status = Remote<pb::ListSessionsReply>(
        handle, pb::ListSessions(), [&](const pb::ListSessionsReply &reply) {
            for (const pb::SessionEntry &entry : reply.sessions())
                lines.push_back({entry.start_time(),
                                 entry.address() + ", id: " + std::to_string(entry.id()) +
                                     ", tls: " + (entry.tls() ? "y" : "n") + ", " + entry.user()});
        });
    if (status != wire::OK) return status;
    for (const SessionLine &line : lines)
        if (uint32_t stop = callback(line.startTime, line.description.c_str(), context, 0))
            return stop;
    return callback(0, nullptr, context, 1);
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QGetStatInfo(QSessionHandle session, QStatInfo *stats, uint32_t) {
    return Guarded([&] { return qelvoarc::GetStatInfo(session, stats); });
}

uint32_t QGetNetInfo(QSessionHandle session, QNetInfo *info, uint32_t) {
    return Guarded([&] { return qelvoarc::GetNetInfo(session, info); });
}

uint32_t QListLoadedModules(QSessionHandle session, QNameCallback callback, void *context,
                            uint32_t) {
    return Guarded([&] { return qelvoarc::ListLoadedModules(session, callback, context); });
}

uint32_t QListUserSessions(QSessionHandle session, QUserSessionCallback callback, void *context,
                           uint32_t) {
    return Guarded([&] { return qelvoarc::ListUserSessions(session, callback, context); });
}

}  // extern "C"
