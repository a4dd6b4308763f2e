// Export of an object by its handle: the clear bytes of a symmetric key, or a certificate.
// The HSM decides what may leave it; the library only carries the bytes, and the raw and
// parsed answers are wiped once copied into the caller's buffer.

#include <memory>

#include "abi_guard.h"
#include "key_objects.h"
#include "library_memory.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

[[nodiscard]] uint32_t ExportKey(QKeyHandle handle, QKeyHandle kek, uint32_t blobType,
                                 uint8_t **blob, uint32_t *blobLength) {
    uint32_t status;
    std::shared_ptr<KeyObject> key = FindKey(handle, &status);
    if (key == nullptr) return status;
    if (blob == nullptr || blobLength == nullptr) return wire::ERR_INVALID_PARAMETER;
    // Wrapped exports need key-encryption keys on the HSM, which it does not serve yet.
    if (kek != 0) return wire::ERR_NOT_SUPPORTED;
    pb::ExportKey request;
    request.set_name(key->info.name());
    request.set_object_id(key->info.object_id());
    request.set_blob_type(static_cast<pb::BlobType>(blobType));
    return Remote<pb::ExportKeyReply>(*key->session, std::move(request),
                                      [&](const pb::ExportKeyReply &reply) {
                                          return HandOutBytes(reply.material(), blob, blobLength);
                                      });
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QExportKey(QKeyHandle key, QKeyHandle kek, uint32_t blobType, uint8_t **blob,
                    uint32_t *blobLength, uint32_t) {
    return qelvoarc::Guarded(
        [&] { return qelvoarc::ExportKey(key, kek, blobType, blob, blobLength); });
}

}  // extern "C"
