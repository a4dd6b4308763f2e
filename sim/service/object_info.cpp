#include "service/object_info.h"

namespace sim {

void FillObjectInfo(const StoredObject &object, wire::pb::ObjectInfo *info) {
    info->set_object_id(static_cast<uint64_t>(object.id));
    info->set_name(object.name);
    info->set_kind(static_cast<wire::pb::ObjectKind>(object.kind));
    info->set_algorithm(static_cast<wire::pb::Algorithm>(object.algorithm));
    info->set_attributes(object.attributes);
    info->set_length(object.length);
    info->set_public_exponent(object.publicExponent);
    info->set_created(object.created);
    // Keys are active from the moment they exist: this HSM has no pre-activation state.
    info->set_activated(object.created);
    info->set_label(object.label);
    info->set_target(object.target);
    info->set_target_type(object.targetType);
    info->set_second(object.second);
    info->set_second_type(object.secondType);
    info->set_p11_label(object.p11Label);
    info->set_blocked(object.blocked);
}

void DescribeObject(KeyStore &keys, const StoredObject &object, wire::pb::ObjectInfo *info) {
    FillObjectInfo(object, info);
    if (IsMappable(object.kind))
        info->set_pkcs11_map(keys.FirstPkcs11MapOf(object.owner, object.name));
}

bool IsMappable(ObjectKind kind) {
    return kind == ObjectKind::kKey || kind == ObjectKind::kCertificate;
}

std::string SealingContext(std::string_view owner, std::string_view name) {
    std::string context(owner);
    context.push_back('\0');
    context.append(name);
    return context;
}

Result UnsealMaterial(const MasterKey &masterKey, const StoredObject &key, SecretBytes *material) {
    std::optional<SecretBytes> plain =
        masterKey.Open(key.sealed, SealingContext(key.owner, key.name));
    if (!plain) return Result::kInternal;
    *material = std::move(*plain);
    return Result::kOk;
}

Result CheckObjectName(std::string_view name) {
    if (name.empty() || name.size() > kMaxObjectNameLength ||
        name.find('\0') != std::string_view::npos)
        return Result::kInvalidParameter;
    return Result::kOk;
}

Result FindHandleObject(KeyStore &keys, std::string_view owner, std::string_view name,
                        uint64_t objectId, bool withSecret, StoredObject *object) {
    if (Result r = CheckObjectName(name); r != Result::kOk) return r;
    std::optional<StoredObject> found = keys.Find(owner, name, withSecret);
    if (!found || (objectId != 0 && static_cast<uint64_t>(found->id) != objectId))
        return Result::kNotFound;
    *object = std::move(*found);
    return Result::kOk;
}

}  // namespace sim
