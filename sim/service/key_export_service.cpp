#include "service/key_export_service.h"

#include "crypto/key_algorithm.h"
#include "service/object_info.h"

namespace sim {

namespace {

bool IsSecretKey(const StoredObject &object) {
    if (object.kind != ObjectKind::kKey) return false;
    const KeyAlgorithm *algorithm = FindKeyAlgorithm(object.algorithm);
    return algorithm != nullptr &&
           (algorithm->keyClass == KeyClass::kSymmetric || algorithm->keyClass == KeyClass::kHmac);
}

Result ExportClearKey(HsmContext &hsm, const StoredObject &key, wire::pb::Response *response) {
    if (!IsSecretKey(key)) return Result::kWrongObjectType;
    if ((key.attributes & kAttributeExportable) == 0) return Result::kNotExportable;
    if (key.blocked) return Result::kKeyBlocked;
    SecretBytes material;
    if (Result r = UnsealMaterial(hsm.masterKey, key, &material); r != Result::kOk) return r;
    hsm.events.Record(key.owner, "Key exported in clear: " + key.name, kEventOk);
    response->set_data(material.view());
    return Result::kOk;
}

}  // namespace

Result HandleKeyExport(HsmContext &hsm, const ConnectionState &conn,
                       const wire::pb::KeyExport &request, wire::pb::Response *response) {
    const uint32_t blobType = request.blob_type();
    if (blobType != kBlobClearSymmetric && blobType != kBlobCertificate)
        return Result::kNotSupported;
    StoredObject object;
    if (Result r = FindHandleObject(hsm.keys, conn.session->user, request.name(),
                                    request.object_id(), blobType == kBlobClearSymmetric, &object);
        r != Result::kOk)
        return r;
    if (blobType == kBlobClearSymmetric) return ExportClearKey(hsm, object, response);
    if (object.kind != ObjectKind::kCertificate) return Result::kWrongObjectType;
    response->set_data(object.certificate);
    return Result::kOk;
}

}  // namespace sim
