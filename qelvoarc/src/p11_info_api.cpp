// The HSM's PKCS#11 information: read once into a handle, then answered attribute by
// attribute without further exchanges.

#include <cstring>
#include <iterator>

#include "abi_guard.h"
#include "library_memory.h"
#include "library_state.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

constexpr uint32_t kInteger = 1;
constexpr uint32_t kText = 2;

// Every attribute the handle answers, in code order.
constexpr QTypeInfo kAttributes[] = {
    {Q_P11_ATTR_TAMPERED, kInteger, "Tampered"},
    {Q_P11_ATTR_CLOUD_STATUS, kInteger, "Telemetry"},
    {Q_P11_ATTR_HSM_ID, kText, "HSM Id"},
    {Q_P11_ATTR_CLOUD_ACCOUNT, kText, "Super Cloud Account Id"},
    {Q_P11_ATTR_TELEMETRY_URL, kText, "Telemetry URL"},
    {Q_P11_ATTR_REMOTE_MANAGEMENT, kInteger, "Remote Management"},
};

[[nodiscard]] uint32_t Put(const void *value, uint32_t size, void *buffer, uint32_t *length) {
    if (*length < size) {
        *length = size;
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, value, size);
    *length = size;
    return wire::OK;
}

[[nodiscard]] uint32_t PutText(const std::string &text, void *buffer, uint32_t *length) {
    return Put(text.c_str(), static_cast<uint32_t>(text.size() + 1), buffer, length);
}

[[nodiscard]] uint32_t GetHSMP11Info(QSessionHandle handle, QP11InfoHandle *out) {
    if (out == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    auto info = std::make_shared<P11Info>();
    const uint32_t status = Remote<pb::GetP11InfoReply>(
        handle, pb::GetP11Info(), [&](const pb::GetP11InfoReply &reply) { info->values = reply; });
    if (status == wire::OK) *out = LibraryState::Get().p11Infos.Add(std::move(info));
    return status;
}

[[nodiscard]] uint32_t GetHSMP11InfoAttr(QP11InfoHandle handle, uint32_t attribute, void *buffer,
                                         uint32_t *length) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    std::shared_ptr<P11Info> info = LibraryState::Get().p11Infos.Find(handle);
    if (info == nullptr) return wire::ERR_INVALID_HANDLE;
    if (buffer == nullptr || length == nullptr) return wire::ERR_INVALID_PARAMETER;
    const pb::GetP11InfoReply &values = info->values;
    switch (attribute) {
        case Q_P11_ATTR_TAMPERED: {
            const uint8_t tampered = values.tampered() ? 1 : 0;
            return Put(&tampered, sizeof tampered, buffer, length);
        }
        case Q_P11_ATTR_CLOUD_STATUS: {
            const uint64_t telemetry = values.telemetry();
            return Put(&telemetry, sizeof telemetry, buffer, length);
        }
        case Q_P11_ATTR_REMOTE_MANAGEMENT: {
            const uint64_t remote = values.remote_management();
            return Put(&remote, sizeof remote, buffer, length);
        }
        case Q_P11_ATTR_HSM_ID:
            return PutText(values.hsm_id(), buffer, length);
        case Q_P11_ATTR_CLOUD_ACCOUNT:
            return PutText(values.cloud_account(), buffer, length);
        case Q_P11_ATTR_TELEMETRY_URL:
            return PutText(values.telemetry_url(), buffer, length);
        default:
            return wire::ERR_INVALID_PARAMETER;
    }
}

[[nodiscard]] uint32_t GetHSMP11TypeInfoList(QTypeInfo **list, uint32_t *count) {
    if (list == nullptr || count == nullptr) return wire::ERR_INVALID_PARAMETER;
    void *copy = CopyToLibraryMemory(kAttributes, sizeof kAttributes);
    if (copy == nullptr) return wire::ERR_NO_MEMORY;
    *list = static_cast<QTypeInfo *>(copy);
    *count = static_cast<uint32_t>(std::size(kAttributes));
    return wire::OK;
}

[[nodiscard]] uint32_t DestroyHSMP11Info(QP11InfoHandle handle) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    return LibraryState::Get().p11Infos.Remove(handle) ? wire::OK : wire::ERR_INVALID_HANDLE;
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QGetHSMP11Info(QSessionHandle session, QP11InfoHandle *info, uint32_t) {
    return Guarded([&] { return qelvoarc::GetHSMP11Info(session, info); });
}

uint32_t QGetHSMP11InfoAttr(QP11InfoHandle info, uint32_t attribute, void *buffer, uint32_t *length,
                            uint32_t) {
    return Guarded([&] { return qelvoarc::GetHSMP11InfoAttr(info, attribute, buffer, length); });
}

uint32_t QGetHSMP11TypeInfoList(QTypeInfo **list, uint32_t *count, uint32_t) {
    return Guarded([&] { return qelvoarc::GetHSMP11TypeInfoList(list, count); });
}

uint32_t QDestroyHSMP11Info(QP11InfoHandle info, uint32_t) {
    return Guarded([&] { return qelvoarc::DestroyHSMP11Info(info); });
}

}  // extern "C"
