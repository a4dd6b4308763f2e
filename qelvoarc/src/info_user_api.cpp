// HSM information and the calls on the logged-in user's own account.

#include <openssl/crypto.h>

#include <cstring>

#include "abi_guard.h"
#include "library_state.h"
#include "qelvoarc.h"

namespace qelvoarc {
namespace {

uint32_t GetHsmInfo(QSessionHandle handle, uint32_t *flagWord, uint32_t kind, void *buffer,
                    uint32_t *length) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (flagWord == nullptr || buffer == nullptr || length == nullptr)
        return wire::ERR_INVALID_PARAMETER;
    if (kind != Q_INFO_VERSION && kind != Q_INFO_MODE) return wire::ERR_NOT_SUPPORTED;
    // The version is text: the caller gets it terminated.
    const size_t terminator = kind == Q_INFO_VERSION ? 1 : 0;
    return session->Call(
        [&](pb::Request &request) {
            pb::GetHsmInfo *info = request.mutable_get_hsm_info();
            info->set_kind(kind);
            info->set_flags(*flagWord);
        },
        [&](const pb::Response &response) -> uint32_t {
            const std::string &data = response.data();
            size_t needed = data.size() + terminator;
            if (*length < needed) {
                *length = static_cast<uint32_t>(needed);
                return wire::ERR_BUFFER_TOO_SMALL;
            }
            std::memcpy(buffer, data.data(), data.size());
            if (terminator) static_cast<char *>(buffer)[data.size()] = '\0';
            *length = static_cast<uint32_t>(data.size());
            *flagWord = response.flags();
            return wire::OK;
        });
}

uint32_t GetUserAcl(QSessionHandle handle, const char *userId, uint32_t *acl) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (userId == nullptr || acl == nullptr) return wire::ERR_INVALID_PARAMETER;
    return session->Call(
        [&](pb::Request &request) {
            request.mutable_get_user_acl()->set_user(userId, strnlen(userId, Q_MAX_USER_ID));
        },
        [&](const pb::Response &response) {
            *acl = static_cast<uint32_t>(response.value());
            return static_cast<uint32_t>(wire::OK);
        });
}

uint32_t SetUserParam(QSessionHandle handle, uint32_t code, const void *data, uint32_t length,
                      uint32_t flags) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (code != Q_USER_PARAM_OWN_PASSWORD) return wire::ERR_NOT_SUPPORTED;
    if (data == nullptr || length == 0 || length > Q_MAX_PASSWORD)
        return wire::ERR_INVALID_PARAMETER;
    return session->CallWithSecret(
        [&](pb::Request &request) {
            pb::SetUserParam *param = request.mutable_set_user_param();
            param->set_code(code);
            param->set_data(data, length);
            param->set_flags(flags);
        },
        [](pb::Request &request) {
            std::string *password = request.mutable_set_user_param()->mutable_data();
            OPENSSL_cleanse(password->data(), password->size());
        });
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QGetHsmInfo(QSessionHandle session, uint32_t *flagWord, uint32_t kind, void *buffer,
                     uint32_t *length, uint32_t) {
    return Guarded([&] { return qelvoarc::GetHsmInfo(session, flagWord, kind, buffer, length); });
}

uint32_t QGetUserAcl(QSessionHandle session, const char *userId, uint32_t *acl) {
    return Guarded([&] { return qelvoarc::GetUserAcl(session, userId, acl); });
}

uint32_t QSetUserParam(QSessionHandle session, uint32_t code, const void *data, uint32_t length,
                       uint32_t flags) {
    return Guarded([&] { return qelvoarc::SetUserParam(session, code, data, length, flags); });
}

}  // extern "C"
