// Object metadata: a handle holds a set of items read from an object or to be written to it.
// The item served is the label (Q_METADATA_LABEL).

#include <cstring>

#include "abi_guard.h"
#include "key_objects.h"
#include "library_state.h"
#include "listing_snapshot.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

constexpr size_t kMaxLabelBytes = 1024;

std::shared_ptr<ObjMetadata> FindMetadata(QObjMetadataHandle handle, uint32_t *status) {
    if (!LibraryState::Get().initialized()) {
        *status = wire::ERR_NOT_INITIALIZED;
        return nullptr;
    }
    std::shared_ptr<ObjMetadata> metadata = LibraryState::Get().metadata.Find(handle);
    *status = metadata == nullptr ? wire::ERR_INVALID_HANDLE : wire::OK;
    return metadata;
}

[[nodiscard]] uint32_t CreateObjMetadata(QObjMetadataHandle *out) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    if (out == nullptr) return wire::ERR_INVALID_PARAMETER;
    *out = LibraryState::Get().metadata.Add(std::make_shared<ObjMetadata>());
    return wire::OK;
}

// The label as a NUL-terminated text; *length out counts the terminator.
[[nodiscard]] uint32_t GetObjMetadata(QObjMetadataHandle handle, uint32_t item, void *buffer,
                                      uint32_t *length) {
    uint32_t status;
    std::shared_ptr<ObjMetadata> metadata = FindMetadata(handle, &status);
    if (metadata == nullptr) return status;
    if (length == nullptr || (buffer == nullptr && *length != 0))
        return wire::ERR_INVALID_PARAMETER;
    if (item != Q_METADATA_LABEL) return wire::ERR_NOT_SUPPORTED;
    auto needed = static_cast<uint32_t>(metadata->label.size() + 1);
    if (*length < needed) {
        *length = needed;
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, metadata->label.c_str(), needed);
    *length = needed;
    return wire::OK;
}

[[nodiscard]] uint32_t SetObjMetadata(QObjMetadataHandle handle, uint32_t item, const void *value,
                                      uint32_t length) {
    uint32_t status;
    std::shared_ptr<ObjMetadata> metadata = FindMetadata(handle, &status);
    if (metadata == nullptr) return status;
    if (value == nullptr && length != 0) return wire::ERR_INVALID_PARAMETER;
    if (item != Q_METADATA_LABEL) return wire::ERR_NOT_SUPPORTED;
    const char *text = static_cast<const char *>(value);
    size_t size = length == 0 ? 0 : strnlen(text, length);
    if (size > kMaxLabelBytes) return wire::ERR_INVALID_LENGTH;
    metadata->label.assign(text == nullptr ? "" : text, size);
    metadata->hasLabel = true;
    return wire::OK;
}

[[nodiscard]] uint32_t OpenMetadata(Session &session, const std::string &name,
                                    QObjMetadataHandle *out) {
    if (out == nullptr) return wire::ERR_INVALID_PARAMETER;
    pb::ObjectInfo info;
    if (uint32_t status = OpenObject(session, name, Q_KEY_OPEN_DEFAULT, &info); status != wire::OK)
        return status;
    auto metadata = std::make_shared<ObjMetadata>();
    metadata->label = info.label();
    metadata->hasLabel = true;
    *out = LibraryState::Get().metadata.Add(std::move(metadata));
    return wire::OK;
}

[[nodiscard]] uint32_t WriteMetadata(Session &session, const std::string &name,
                                     QObjMetadataHandle *handle) {
    if (handle == nullptr) return wire::ERR_INVALID_PARAMETER;
    uint32_t status;
    std::shared_ptr<ObjMetadata> metadata = FindMetadata(*handle, &status);
    if (metadata == nullptr) return status;
    if (!metadata->hasLabel) return wire::ERR_INVALID_PARAMETER;
    pb::SetObjectLabel request;
    request.set_name(name);
    request.set_label(metadata->label);
    status = Remote<pb::SetObjectLabelReply>(session, std::move(request));
    if (status == wire::OK) ForgetListed(&session, name);
    return status;
}

[[nodiscard]] uint32_t ManageObjMetadata(QSessionHandle handle, uint32_t operation,
                                         const char *objectName, QObjMetadataHandle *metadata) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name;
    if ((status = ObjectName(objectName, &name)) != wire::OK) return status;
    switch (operation) {
        case Q_METADATA_OPEN:
            return OpenMetadata(*session, name, metadata);
        case Q_METADATA_WRITE:
            return WriteMetadata(*session, name, metadata);
        default:
            return wire::ERR_INVALID_PARAMETER;
    }
}

[[nodiscard]] uint32_t DestroyObjMetadata(QObjMetadataHandle handle) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    return LibraryState::Get().metadata.Remove(handle) ? wire::OK : wire::ERR_INVALID_HANDLE;
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QCreateObjMetadata(QObjMetadataHandle *metadata, uint32_t) {
    return Guarded([&] { return qelvoarc::CreateObjMetadata(metadata); });
}

uint32_t QGetObjMetadata(QObjMetadataHandle metadata, uint32_t item, void *buffer, uint32_t *length,
                         uint32_t) {
    return Guarded([&] { return qelvoarc::GetObjMetadata(metadata, item, buffer, length); });
}

uint32_t QSetObjMetadata(QObjMetadataHandle metadata, uint32_t item, const void *value,
                         uint32_t length, uint32_t) {
    return Guarded([&] { return qelvoarc::SetObjMetadata(metadata, item, value, length); });
}

uint32_t QManageObjMetadata(QSessionHandle session, uint32_t operation, const char *objectName,
                            QObjMetadataHandle *metadata, uint32_t) {
    return Guarded(
        [&] { return qelvoarc::ManageObjMetadata(session, operation, objectName, metadata); });
}

uint32_t QDestroyObjMetadata(QObjMetadataHandle metadata, uint32_t) {
    return Guarded([&] { return qelvoarc::DestroyObjMetadata(metadata); });
}

}  // extern "C"
