// Access tokens: issuing, revoking, enumerating and looking up, and the HSM's token cache.

#include <openssl/crypto.h>

#include <cstring>
#include <limits>
#include <vector>

#include "abi_guard.h"
#include "library_state.h"
#include "qelvoarc.h"

namespace qelvoarc {
namespace {

void WipeToken(pb::Request &request) {
    std::string *token = nullptr;
    if (request.has_access_token_revoke())
        token = request.mutable_access_token_revoke()->mutable_token();
    else if (request.has_access_token_list())
        token = request.mutable_access_token_list()->mutable_token();
    if (token != nullptr) OPENSSL_cleanse(token->data(), token->size());
}

QAccessTokenInfo ToInfo(const pb::AccessTokenInfo &from) {
    QAccessTokenInfo info{};
    info.expiration = from.expiration();
    std::memcpy(info.owner, from.owner().data(), std::min(from.owner().size(), sizeof info.owner));
    std::memcpy(info.key, from.key().data(), std::min(from.key().size(), sizeof info.key));
    return info;
}

uint32_t Issue(Session &session, QAccessTokenRecord *record) {
    return session.Call(
        [&](pb::Request &request) {
            request.mutable_access_token_issue()->set_expiration(record->expiration);
        },
        [&](const pb::Response &response) -> uint32_t {
            if (response.data().size() != sizeof record->token) return wire::ERR_PROTOCOL;
            std::memcpy(record->token, response.data().data(), sizeof record->token);
            return wire::OK;
        });
}

uint32_t Revoke(Session &session, const QAccessTokenRecord *record) {
    return session.CallWithSecret(
        [&](pb::Request &request) {
            request.mutable_access_token_revoke()->set_token(record->token, sizeof record->token);
        },
        WipeToken);
}

// Enumerates every visible token, or looks one up when `record` is given; the callback
// runs after the exchange, so it may call the library.
uint32_t Enumerate(Session &session, const QAccessTokenRecord *record,
                   QAccessTokenCallback callback, void *context) {
    std::vector<QAccessTokenInfo> tokens;
    uint32_t status = session.CallWithSecret(
        [&](pb::Request &request) {
            pb::AccessTokenList *list = request.mutable_access_token_list();
            if (record != nullptr) list->set_token(record->token, sizeof record->token);
        },
        WipeToken,
        [&](const pb::Response &response) {
            for (const pb::AccessTokenInfo &info : response.access_tokens())
                tokens.push_back(ToInfo(info));
            return static_cast<uint32_t>(wire::OK);
        });
    if (status != wire::OK) return status;
    if (record != nullptr && tokens.empty()) return wire::ERR_NOT_FOUND;
    for (const QAccessTokenInfo &info : tokens)
        if (uint32_t stop = callback(&info, context, 0); stop != 0) return stop;
    return callback(nullptr, context, 1);
}

uint32_t ManageToken(QSessionHandle handle, uint32_t operation, QAccessTokenRecord *record,
                     QAccessTokenCallback callback, void *context) {
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

uint32_t ManageCache(QSessionHandle handle, uint32_t operation, uint32_t *value) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (value == nullptr) return wire::ERR_INVALID_PARAMETER;
    return session->Call(
        [&](pb::Request &request) {
            request.mutable_access_token_cache()->set_operation(operation);
        },
        [&](const pb::Response &response) {
            *value = static_cast<uint32_t>(
                std::min<uint64_t>(response.value(), std::numeric_limits<uint32_t>::max()));
            return static_cast<uint32_t>(wire::OK);
        });
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
