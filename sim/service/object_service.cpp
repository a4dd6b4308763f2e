#include "service/object_service.h"

#include <unordered_map>

#include "service/object_info.h"

namespace sim {

namespace {

constexpr size_t kMaxLabelBytes = 1024;
constexpr size_t kMaxPkcs11LabelBytes = 128;

// kOk when the partition holds `name` and it is of a kind `accepted` approves.
template <class Accepted>
Result CheckKind(Call &call, const std::string &name, Accepted accepted) {
    if (Result r = CheckObjectName(name); r != Result::kOk) return r;
    std::optional<StoredObject> object = call.hsm.keys.Find(call.session().user, name, false);
    if (!object) return Result::kNotFound;
    return accepted(object->kind) ? Result::kOk : Result::kWrongObjectType;
}

bool IsKey(ObjectKind kind) {
    return kind == ObjectKind::kKey;
}

bool IsCertificate(ObjectKind kind) {
    return kind == ObjectKind::kCertificate;
}

// Fills a listing of the whole partition. Each key and certificate names the first PKCS#11
// map that points at it, found in the listing itself rather than by a query per object.
// REQUIRES: `objects` in name order.
void DescribeListing(const std::vector<StoredObject> &objects, pb::ListObjectsReply *reply) {
    std::unordered_map<std::string, std::string> firstMap;
    for (const StoredObject &object : objects)
        if (object.kind == ObjectKind::kPkcs11Map) {
            firstMap.try_emplace(object.target, object.name);
            if (!object.second.empty()) firstMap.try_emplace(object.second, object.name);
        }
    for (const StoredObject &object : objects) {
        pb::ObjectInfo *info = reply->add_objects();
        FillObjectInfo(object, info);
        auto map = firstMap.find(object.name);
        if (IsMappable(object.kind) && map != firstMap.end()) info->set_pkcs11_map(map->second);
    }
}

// A new map object of the caller's partition; the callers fill what the kind adds.
StoredObject NewMap(Call &call, const std::string &name, ObjectKind kind, uint32_t algorithm,
                    const std::string &target) {
    StoredObject map;
    map.owner = call.session().user;
    map.name = name;
    map.kind = kind;
    map.algorithm = algorithm;
    map.target = target;
    return map;
}

Result HandleOpenObject(Call &call, const pb::OpenObject &request, pb::OpenObjectReply *reply) {
    if (request.options() != pb::OPEN_DEFAULT && request.options() != pb::OPEN_MOFN)
        return Result::kInvalidParameter;
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    std::optional<StoredObject> object =
        call.hsm.keys.Find(call.session().user, request.name(), false);
    if (!object) return Result::kNotFound;
    DescribeObject(call.hsm.keys, *object, reply->mutable_object());
    return Result::kOk;
}

Result HandleRemoveObject(Call &call, const pb::RemoveObject &request, pb::RemoveObjectReply *) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    // A kept secret goes only through its own removal, which asks for its level and type.
    std::optional<StoredObject> object =
        call.hsm.keys.Find(call.session().user, request.name(), false);
    if (object && object->kind == ObjectKind::kSecret) return Result::kWrongObjectType;
    return call.hsm.keys.Remove(call.actor(), call.session().user, request.name());
}

// Every object, or the PKCS#11 maps alone.
Result HandleListObjects(Call &call, const pb::ListObjects &request, pb::ListObjectsReply *reply) {
    if (request.kind() != pb::OBJECT_ANY && request.kind() != pb::OBJECT_PKCS11_MAP)
        return Result::kInvalidParameter;
    DescribeListing(call.hsm.keys.List(call.session().user, request.kind()), reply);
    return Result::kOk;
}

Result HandleCreateMap(Call &call, const pb::CreateMap &request, pb::CreateMapReply *) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (request.slot1_type() != pb::SLOT_KEY_BY_NAME ||
        request.slot2_type() != pb::SLOT_KEY_BY_NAME)
        return Result::kInvalidParameter;
    for (const std::string &slot : {request.slot1(), request.slot2()})
        if (Result r = CheckKind(call, slot, IsKey); r != Result::kOk) return r;
    StoredObject map =
        NewMap(call, request.name(), ObjectKind::kMap, pb::ALG_OBJ_MAP, request.slot1());
    map.targetType = request.slot1_type();
    map.second = request.slot2();
    map.secondType = request.slot2_type();
    return call.hsm.keys.Insert(call.actor(), &map, "Map created: " + map.name);
}

Result HandleCreatePkcs11Map(Call &call, const pb::CreatePkcs11Map &request,
                             pb::CreatePkcs11MapReply *) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (request.label().size() > kMaxPkcs11LabelBytes) return Result::kInvalidLength;
    if (Result r = CheckKind(call, request.key_name(), IsMappable); r != Result::kOk) return r;
    if (!request.cert_name().empty())
        if (Result r = CheckKind(call, request.cert_name(), IsCertificate); r != Result::kOk)
            return r;
    StoredObject map = NewMap(call, request.name(), ObjectKind::kPkcs11Map, pb::ALG_OBJ_PKCS11_MAP,
                              request.key_name());
    map.second = request.cert_name();
    map.p11Label = request.label();
    return call.hsm.keys.Insert(call.actor(), &map, "PKCS#11 map created: " + map.name);
}

Result HandleSetObjectLabel(Call &call, const pb::SetObjectLabel &request,
                            pb::SetObjectLabelReply *) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (request.label().size() > kMaxLabelBytes) return Result::kInvalidLength;
    return call.hsm.keys.SetLabel(call.actor(), call.session().user, request.name(),
                                  request.label());
}

}  // namespace

void RegisterObjectService(DispatchTable &table) {
    table.Add<&pb::Request::open_object, &pb::Response::mutable_open_object>(
        HandleOpenObject, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::remove_object, &pb::Response::mutable_remove_object>(
        HandleRemoveObject, Needs::Nothing(), kNormalSessions, pb::MOFN_PERMISSION_DESTROY);
    table.Add<&pb::Request::list_objects, &pb::Response::mutable_list_objects>(
        HandleListObjects, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::create_map, &pb::Response::mutable_create_map>(
        HandleCreateMap, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::create_pkcs11_map, &pb::Response::mutable_create_pkcs11_map>(
        HandleCreatePkcs11Map, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::set_object_label, &pb::Response::mutable_set_object_label>(
        HandleSetObjectLabel, Needs::Nothing(), kNormalSessions);
}

}  // namespace sim
