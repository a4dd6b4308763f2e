// One object backed up as a blob the HSM seals under its master key, and brought back. The
// library only carries the blob; the HSM alone can open it.

#include "abi_guard.h"
#include "library_memory.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

[[nodiscard]] uint32_t ExportObject(QSessionHandle handle, const char *name, uint8_t **blob,
                                    uint32_t *blobLength) {
    pb::BackupObject request;
    request.set_name(name);
    return Remote<pb::BackupObjectReply>(handle, std::move(request),
                                         [&](const pb::BackupObjectReply &reply) {
                                             return HandOutBytes(reply.blob(), blob, blobLength);
                                         });
}

[[nodiscard]] uint32_t ImportObject(QSessionHandle handle, const char *name, const uint8_t *blob,
                                    uint32_t blobLength) {
    if (blob == nullptr || blobLength == 0) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::RestoreObject request;
    request.set_name(name);
    request.set_blob(blob, blobLength);
    return Remote<pb::RestoreObjectReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t BackupObject(QSessionHandle handle, const char *name, uint32_t operation,
                                    uint8_t **blob, uint32_t *blobLength) {
    if (name == nullptr || blob == nullptr || blobLength == nullptr)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    switch (operation) {
        case Q_BACKUP_OBJECT_EXPORT:
            return ExportObject(handle, name, blob, blobLength);
        case Q_BACKUP_OBJECT_IMPORT:
            return ImportObject(handle, name, *blob, *blobLength);
        default:
            return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    }
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QBackupObject(QSessionHandle session, const char *name, uint32_t operation, uint8_t **blob,
                       uint32_t *blobLength, uint32_t) {
    return qelvoarc::Guarded(
        [&] { return qelvoarc::BackupObject(session, name, operation, blob, blobLength); });
}

}  // extern "C"
