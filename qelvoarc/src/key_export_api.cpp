// Export of an object by its handle: the clear bytes of a symmetric key, or a certificate.
// The HSM decides what may leave it; the library only carries the bytes, and the raw and
// parsed answers are wiped once copied into the caller's buffer.

#include <memory>

#include "abi_guard.h"
#include "key_objects.h"
#include "library_memory.h"
#include "qelvoarc.h"

namespace qelvoarc {
namespace {

uint32_t ExportKey(QKeyHandle handle, QKeyHandle kek, uint32_t blobType, uint8_t **blob,
                   uint32_t *blobLength) {
    uint32_t status;
    std::shared_ptr<KeyObject> key = FindKey(handle, &status);
    if (key == nullptr) return status;
    if (blob == nullptr || blobLength == nullptr) return wire::ERR_INVALID_PARAMETER;
    // Wrapped exports need key-encryption keys on the HSM, which it does not serve yet.
    if (kek != 0) return wire::ERR_NOT_SUPPORTED;
    void *copy = nullptr;
    uint32_t size = 0;
    status = key->session->Call(
        [&](pb::Request &request) {
            pb::KeyExport *exported = request.mutable_key_export();
            exported->set_name(key->info.name());
            exported->set_object_id(key->info.object_id());
            exported->set_blob_type(blobType);
        },
        [&](const pb::Response &response) {
            const std::string &data = response.data();
            copy = CopyToLibraryMemory(data.data(), data.size());
            if (copy == nullptr) return static_cast<uint32_t>(wire::ERR_NO_MEMORY);
            size = static_cast<uint32_t>(data.size());
            return static_cast<uint32_t>(wire::OK);
        });
    if (status != wire::OK) return status;
    *blob = static_cast<uint8_t *>(copy);
    *blobLength = size;
    return wire::OK;
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
