// HSM information.

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

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QGetHsmInfo(QSessionHandle session, uint32_t *flagWord, uint32_t kind, void *buffer,
                     uint32_t *length, uint32_t) {
    return Guarded([&] { return qelvoarc::GetHsmInfo(session, flagWord, kind, buffer, length); });
}

}  // extern "C"
