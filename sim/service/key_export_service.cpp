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

Result ExportClearKey(Call &call, const StoredObject &key, pb::ExportKeyReply *reply) {
    if (!IsSecretKey(key)) return Result::kWrongObjectType;
    if ((key.attributes & pb::KEY_EXPORTABLE) == 0) return Result::kNotExportable;
    if (key.blocked) return Result::kKeyBlocked;
    SecretBytes material;
    if (Result r = UnsealMaterial(call.hsm.masterKey, key, &material); r != Result::kOk) return r;
    call.hsm.events.Record(call.actor(), "Key exported in clear: " + key.name, kEventOk);
    reply->set_material(material.view());
    return Result::kOk;
}

Result HandleExportKey(Call &call, const pb::ExportKey &request, pb::ExportKeyReply *reply) {
    const pb::BlobType blobType = request.blob_type();
    if (blobType != pb::BLOB_CLEAR_SYMMETRIC && blobType != pb::BLOB_X509_CERT)
        return Result::kNotSupported;
    StoredObject object;
    if (Result r =
            FindHandleObject(call.hsm.keys, call.session().user, request.name(),
                             request.object_id(), blobType == pb::BLOB_CLEAR_SYMMETRIC, &object);
        r != Result::kOk)
        return r;
    if (blobType == pb::BLOB_CLEAR_SYMMETRIC) return ExportClearKey(call, object, reply);
    if (object.kind != ObjectKind::kCertificate) return Result::kWrongObjectType;
    reply->set_material(object.certificate);
    return Result::kOk;
}

}  // namespace

void RegisterKeyExportService(DispatchTable &table) {
    table.Add<&pb::Request::export_key, &pb::Response::mutable_export_key>(
        HandleExportKey, Needs::Nothing(), kNormalSessions, pb::MOFN_PERMISSION_EXPORT);
}

}  // namespace sim
