#include "service/partition_keys.h"

#include "check_value.h"
#include "crypto/cvv.h"
#include "service/object_info.h"

namespace sim {

Result StoreKey(Call &call, const std::string &name, const KeyAlgorithm &algorithm,
                uint32_t attributes, const KeyMaterial &material, KeyOrigin origin,
                const std::string &event, wire::pb::ObjectInfo *info) {
    HsmContext &hsm = call.hsm;
    StoredObject object;
    object.owner = call.session().user;
    object.name = name;
    object.kind = ObjectKind::kKey;
    object.algorithm = algorithm.id;
    object.attributes = attributes;
    object.length = algorithm.length;
    object.sealed = hsm.masterKey.Seal(material.secret.view(), SealingContext(object.owner, name));
    object.publicExponent = material.publicExponent;
    object.generated = origin == KeyOrigin::kGenerated;
    if (Result r = hsm.keys.Insert(call.actor(), &object, event + ": " + name); r != Result::kOk)
        return r;
    DescribeObject(hsm.keys, object, info);
    return Result::kOk;
}

Result OpenKey(HsmContext &hsm, std::string_view owner, std::string_view name, StoredObject *object,
               SecretBytes *material) {
    std::optional<StoredObject> found = hsm.keys.Find(owner, name, true);
    if (!found) return Result::kNotFound;
    if (found->kind != ObjectKind::kKey) return Result::kWrongObjectType;
    if (Result r = UnsealMaterial(hsm.masterKey, *found, material); r != Result::kOk) return r;
    *object = std::move(*found);
    return Result::kOk;
}

Result OpenKey(Call &call, const std::string &name, StoredObject *object, SecretBytes *material) {
    return OpenKey(call.hsm, call.session().user, name, object, material);
}

Result CheckUsable(const StoredObject &key, bool desFamily) {
    if (key.blocked) return Result::kKeyBlocked;
    if (desFamily && !wire::IsDesFamily(key.algorithm)) return Result::kBadAlgorithm;
    return Result::kOk;
}

Result OpenUsableKey(HsmContext &hsm, std::string_view owner, std::string_view name, bool desFamily,
                     StoredObject *object, SecretBytes *material) {
    if (Result r = OpenKey(hsm, owner, name, object, material); r != Result::kOk) return r;
    return CheckUsable(*object, desFamily);
}

Result CvvOfKey(uint32_t algorithm, std::string_view material, std::string_view pan,
                std::string_view expirationDate, std::string_view serviceCode, std::string *cvv) {
    if (algorithm != pb::ALG_3DES_112) return Result::kBadAlgorithm;
    return ComputeCvv(material, pan, expirationDate, serviceCode, cvv);
}

Result PartitionCvv(HsmContext &hsm, std::string_view owner, std::string_view keyName,
                    std::string_view pan, std::string_view expirationDate,
                    std::string_view serviceCode, std::string *cvv) {
    StoredObject key;
    SecretBytes material;
    if (Result r = OpenUsableKey(hsm, owner, keyName, true, &key, &material); r != Result::kOk)
        return r;
    return CvvOfKey(key.algorithm, material.view(), pan, expirationDate, serviceCode, cvv);
}

std::string AlgorithmNote(const char *what, const KeyAlgorithm &algorithm) {
    return std::string(what) + " (algorithm " + std::to_string(algorithm.id) + ")";
}

}  // namespace sim
