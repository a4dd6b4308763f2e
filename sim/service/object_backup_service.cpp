#include "service/object_backup_service.h"

#include "crypto/object_blob.h"
#include "secret_fields.h"
#include "service/object_info.h"

namespace sim {

namespace {

// The object as the blob carries it; sealed material in clear, for the blob's seal only.
Result ToBackup(const MasterKey &masterKey, const StoredObject &object, pb::BackedUpObject *out) {
    out->set_kind(static_cast<pb::ObjectKind>(object.kind));
    out->set_algorithm(object.algorithm);
    out->set_attributes(object.attributes);
    out->set_length(object.length);
    out->set_public_exponent(object.publicExponent);
    out->set_label(object.label);
    out->set_target(object.target);
    out->set_target_type(object.targetType);
    out->set_second(object.second);
    out->set_second_type(object.secondType);
    out->set_p11_label(object.p11Label);
    out->set_generated(object.generated);
    out->set_blocked(object.blocked);
    out->set_certificate(object.certificate);
    if (object.sealed.empty()) return Result::kOk;
    SecretBytes material;
    if (Result r = UnsealMaterial(masterKey, object, &material); r != Result::kOk) return r;
    out->set_material(material.view());
    return Result::kOk;
}

// The object of a backup as `name` of `owner`'s partition, its material sealed for that place.
StoredObject FromBackup(const MasterKey &masterKey, const pb::BackedUpObject &backup,
                        const std::string &owner, const std::string &name) {
    StoredObject object;
    object.owner = owner;
    object.name = name;
    object.kind = static_cast<ObjectKind>(backup.kind());
    object.algorithm = backup.algorithm();
    object.attributes = backup.attributes();
    object.length = backup.length();
    object.publicExponent = backup.public_exponent();
    object.label = backup.label();
    object.target = backup.target();
    object.targetType = backup.target_type();
    object.second = backup.second();
    object.secondType = backup.second_type();
    object.p11Label = backup.p11_label();
    object.generated = backup.generated();
    object.blocked = backup.blocked();
    object.certificate = backup.certificate();
    if (!backup.material().empty())
        object.sealed = masterKey.Seal(backup.material(), SealingContext(owner, name));
    return object;
}

Result HandleBackupObject(Call &call, const pb::BackupObject &request,
                          pb::BackupObjectReply *reply) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    std::optional<StoredObject> object =
        call.hsm.keys.Find(call.session().user, request.name(), true);
    if (!object) return Result::kNotFound;
    pb::BackedUpObject backup;
    Result result = ToBackup(call.hsm.masterKey, *object, &backup);
    if (result == Result::kOk) {
        SecretBytes plain(backup.SerializeAsString());
        reply->set_blob(SealObjectBlob(call.hsm.masterKey, plain.view()));
        call.hsm.events.Record(call.actor(), "Object backed up: " + request.name(), kEventOk);
    }
    (void)wire::WipeSecretFields(backup);
    return result;
}

Result HandleRestoreObject(Call &call, const pb::RestoreObject &request, pb::RestoreObjectReply *) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    SecretBytes plain;
    if (Result r = OpenObjectBlob(call.hsm.masterKey, request.blob(), &plain); r != Result::kOk)
        return r;
    pb::BackedUpObject backup;
    // Sealed by this HSM, so it parses; a kind it does not know would be a newer HSM's.
    if (!backup.ParseFromString(plain.view()) || !pb::ObjectKind_IsValid(backup.kind()) ||
        backup.kind() == pb::OBJECT_ANY) {
        (void)wire::WipeSecretFields(backup);
        return Result::kBlobDamaged;
    }
    StoredObject object =
        FromBackup(call.hsm.masterKey, backup, call.session().user, request.name());
    (void)wire::WipeSecretFields(backup);
    return call.hsm.keys.Insert(call.actor(), &object,
                                "Object restored from backup: " + object.name);
}

}  // namespace

void RegisterObjectBackupService(DispatchTable &table) {
    const Needs backup = Needs::Acl(pb::ACL_BACKUP);
    table.Add<&pb::Request::backup_object, &pb::Response::mutable_backup_object>(
        HandleBackupObject, backup, kNormalSessions);
    table.Add<&pb::Request::restore_object, &pb::Response::mutable_restore_object>(
        HandleRestoreObject, backup, kNormalSessions);
}

}  // namespace sim
