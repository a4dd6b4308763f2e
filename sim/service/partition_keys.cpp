#include "service/partition_keys.h"

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

Result OpenKey(Call &call, const std::string &name, StoredObject *object, SecretBytes *material) {
    std::optional<StoredObject> found = call.hsm.keys.Find(call.session().user, name, true);
    if (!found) return Result::kNotFound;
    if (found->kind != ObjectKind::kKey) return Result::kWrongObjectType;
    if (Result r = UnsealMaterial(call.hsm.masterKey, *found, material); r != Result::kOk) return r;
    *object = std::move(*found);
    return Result::kOk;
}

std::string AlgorithmNote(const char *what, const KeyAlgorithm &algorithm) {
    return std::string(what) + " (algorithm " + std::to_string(algorithm.id) + ")";
}

}  // namespace sim
