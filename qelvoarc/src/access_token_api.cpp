// Access tokens: issuing, revoking, enumerating and looking up, and the HSM's token cache.

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "abi_guard.h"
#include "library_state.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

QAccessTokenInfo ToInfo(const pb::AccessTokenInfo &from) {
    QAccessTokenInfo info{};
    info.expiration = from.expiration();
    std::memcpy(info.owner, from.owner().data(), std::min(from.owner().size(), sizeof info.owner));
    std::memcpy(info.key, from.key().data(), std::min(from.key().size(), sizeof info.key));
    return info;
}

[[nodiscard]] uint32_t Issue(Session &session, QAccessTokenRecord *record) {
    pb::IssueAccessToken request;
    request.set_expiration(record->expiration);
    return Remote<pb::IssueAccessTokenReply>(
        session, std::move(request), [&](const pb::IssueAccessTokenReply &reply) -> uint32_t {
            if (reply.token().size() != sizeof record->token) return wire::ERR_PROTOCOL;
            std::memcpy(record->token, reply.token().data(), sizeof record->token);
            return wire::OK;
        });
}

[[nodiscard]] uint32_t Revoke(Session &session, const QAccessTokenRecord *record) {
    pb::RevokeAccessToken request;
    request.set_token(record->token, sizeof record->token);
    return Remote<pb::RevokeAccessTokenReply>(session, std::move(request));
}

// Enumerates every visible token, or looks one up when `record` is given; the callback
// runs after the exchange, so it may call the library.
[[nodiscard]] uint32_t Enumerate(Session &session, const QAccessTokenRecord *record,
                                 QAccessTokenCallback callback, void *context) {
    pb::ListAccessTokens request;
    if (record != nullptr) request.set_token(record->token, sizeof record->token);
    std::vector<QAccessTokenInfo> tokens;
    uint32_t status = Remote<pb::ListAccessTokensReply>(
        session, std::move(request), [&](const pb::ListAccessTokensReply &reply) {
            for (const pb::AccessTokenInfo &info : reply.tokens())
                tokens.push_back(ToInfo(info));
        });
    if (status != wire::OK) return status;
    if (record != nullptr && tokens.empty()) return wire::ERR_NOT_FOUND;
    for (const QAccessTokenInfo &info : tokens)
        if (uint32_t stop = callback(&info, context, 0); stop != 0) return stop;
    return callback(nullptr, context, 1);
}

[[nodiscard]] uint32_t ManageToken(QSessionHandle handle, uint32_t operation,
                                   QAccessTokenRecord *record, QAccessTokenCallback callback,
                                   void *context) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    switch (operation) {
        case Q_ATOKEN_ISSUE:
            return record == nullptr ? static_cast<uint32_t>(wire::ERR_INVALID_PARAMETER)
                                     : Issue(*session, record);
        case Q_ATOKEN_REVOKE:
            return record == nullptr ? static_cast<uint32_t>(wire::ERR_INVALID_PARAMETER)
                                     : Revoke(*session, record);
        case Q_ATOKEN_ENUMERATE:
            return callback == nullptr ? static_cast<uint32_t>(wire::ERR_INVALID_PARAMETER)
                                       : Enumerate(*session, nullptr, callback, context);
        case Q_ATOKEN_LOOKUP:
            return callback == nullptr || record == nullptr
                       ? static_cast<uint32_t>(wire::ERR_INVALID_PARAMETER)
                       : Enumerate(*session, record, callback, context);
        default:
            return wire::ERR_INVALID_PARAMETER;
    }
}

// The caller's word holds at most its largest value.
uint32_t Clamped(uint64_t count) {
    return static_cast<uint32_t>(std::min<uint64_t>(count, std::numeric_limits<uint32_t>::max()));
}

[[nodiscard]] uint32_t ManageCache(QSessionHandle handle, uint32_t operation, uint32_t *value) {
    if (value == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    switch (operation) {
        case Q_ATOKEN_CACHE_COUNT:
            return Remote<pb::CountAccessTokensReply>(
                handle, pb::CountAccessTokens(),
                [&](const pb::CountAccessTokensReply &reply) { *value = Clamped(reply.count()); });
        case Q_ATOKEN_CACHE_GC:
            return Remote<pb::CollectAccessTokensReply>(
                handle, pb::CollectAccessTokens(), [&](const pb::CollectAccessTokensReply &reply) {
                    *value = Clamped(reply.collected());
                });
        default:
            return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    }
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QManageAToken(QSessionHandle session, uint32_t operation, QAccessTokenRecord *record,
                       QAccessTokenCallback callback, void *context, uint32_t) {
    return Guarded(
        [&] { return qelvoarc::ManageToken(session, operation, record, callback, context); });
}

uint32_t QManageATokenCache(QSessionHandle session, uint32_t operation, uint32_t *value, uint32_t) {
    return Guarded([&] { return qelvoarc::ManageCache(session, operation, value); });
}

}  // extern "C"
