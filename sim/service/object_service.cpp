#include "service/object_service.h"

#include <unordered_map>

#include "service/object_info.h"

namespace sim {

namespace {

constexpr uint32_t kOpenDefault = 0;
constexpr uint32_t kOpenMofN = 2;
constexpr uint32_t kSlotKeyByName = 0;
constexpr size_t kMaxLabelBytes = 1024;
constexpr size_t kMaxPkcs11LabelBytes = 128;

// kOk when the partition holds `name` and it is of a kind `accepted` approves.
template <class Accepted>
Result CheckKind(HsmContext &hsm, const ConnectionState &conn, const std::string &name,
                 Accepted accepted) {
    if (Result r = CheckObjectName(name); r != Result::kOk) return r;
    std::optional<StoredObject> object = hsm.keys.Find(conn.session->user, name, false);
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
void DescribeListing(const std::vector<StoredObject> &objects, wire::pb::Response *response) {
    std::unordered_map<std::string, std::string> firstMap;
    for (const StoredObject &object : objects)
        if (object.kind == ObjectKind::kPkcs11Map) {
            firstMap.try_emplace(object.target, object.name);
            if (!object.second.empty()) firstMap.try_emplace(object.second, object.name);
        }
    for (const StoredObject &object : objects) {
        wire::pb::ObjectInfo *info = response->add_objects();
        FillObjectInfo(object, info);
        auto map = firstMap.find(object.name);
        if (IsMappable(object.kind) && map != firstMap.end()) info->set_pkcs11_map(map->second);
    }
}

}  // namespace

Result HandleObjectOpen(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::ObjectOpen &request, wire::pb::Response *response) {
    if (request.options() != kOpenDefault && request.options() != kOpenMofN)
        return Result::kInvalidParameter;
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    std::optional<StoredObject> object = hsm.keys.Find(conn.session->user, request.name(), false);
    if (!object) return Result::kNotFound;
    DescribeObject(hsm.keys, *object, response->mutable_object());
    return Result::kOk;
}

Result HandleObjectRemove(HsmContext &hsm, const ConnectionState &conn,
                          const wire::pb::ObjectRemove &request) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    return hsm.keys.Remove(conn.session->user, request.name());
}

Result HandleObjectList(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::ObjectList &request, wire::pb::Response *response) {
    if (request.kind() != 0 && request.kind() != static_cast<uint32_t>(ObjectKind::kPkcs11Map))
        return Result::kInvalidParameter;
    DescribeListing(hsm.keys.List(conn.session->user, request.kind()), response);
    return Result::kOk;
}

namespace {

// A new map object of the caller's partition; the callers fill what the kind adds.
StoredObject NewMap(const ConnectionState &conn, const std::string &name, ObjectKind kind,
                    uint32_t algorithm, const std::string &target) {
    StoredObject map;
    map.owner = conn.session->user;
    map.name = name;
    map.kind = kind;
    map.algorithm = algorithm;
    map.target = target;
    return map;
}

}  // namespace

Result HandleMapCreate(HsmContext &hsm, const ConnectionState &conn,
                       const wire::pb::MapCreate &request) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (request.slot1_type() != kSlotKeyByName || request.slot2_type() != kSlotKeyByName)
        return Result::kInvalidParameter;
    for (const std::string &slot : {request.slot1(), request.slot2()})
        if (Result r = CheckKind(hsm, conn, slot, IsKey); r != Result::kOk) return r;
    StoredObject map =
        NewMap(conn, request.name(), ObjectKind::kMap, kMapObjectType, request.slot1());
    map.targetType = request.slot1_type();
    map.second = request.slot2();
    map.secondType = request.slot2_type();
    return hsm.keys.Insert(&map, "Map created: " + map.name);
}

Result HandlePkcs11MapCreate(HsmContext &hsm, const ConnectionState &conn,
                             const wire::pb::Pkcs11MapCreate &request) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (request.label().size() > kMaxPkcs11LabelBytes) return Result::kInvalidLength;
    if (Result r = CheckKind(hsm, conn, request.key_name(), IsMappable); r != Result::kOk) return r;
    if (!request.cert_name().empty())
        if (Result r = CheckKind(hsm, conn, request.cert_name(), IsCertificate); r != Result::kOk)
            return r;
    StoredObject map = NewMap(conn, request.name(), ObjectKind::kPkcs11Map, kPkcs11MapObjectType,
                              request.key_name());
    map.second = request.cert_name();
    map.p11Label = request.label();
    return hsm.keys.Insert(&map, "PKCS#11 map created: " + map.name);
}

Result HandleMetadataWrite(HsmContext &hsm, const ConnectionState &conn,
                           const wire::pb::MetadataWrite &request) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (request.label().size() > kMaxLabelBytes) return Result::kInvalidLength;
    return hsm.keys.SetLabel(conn.session->user, request.name(), request.label());
}

}  // namespace sim
