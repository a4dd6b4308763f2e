#include "service/object_service.h"

#include "service/object_info.h"

namespace sim {

namespace {

constexpr uint32_t kOpenDefault = 0;
constexpr uint32_t kOpenMofN = 2;
constexpr uint32_t kSlotKeyByName = 0;
constexpr size_t kMaxLabelBytes = 1024;
constexpr size_t kMaxPkcs11LabelBytes = 128;

Result CheckIsKey(HsmContext &hsm, const ConnectionState &conn, const std::string &name) {
    std::optional<StoredObject> object = hsm.keys.Find(conn.session->user, name, false);
    if (!object) return Result::kNotFound;
    return object->kind == ObjectKind::kKey ? Result::kOk : Result::kWrongObjectType;
}

}  // namespace

Result HandleObjectOpen(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::ObjectOpen &request, wire::pb::Response *response) {
    if (request.options() != kOpenDefault && request.options() != kOpenMofN)
        return Result::kInvalidParameter;
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    std::optional<StoredObject> object = hsm.keys.Find(conn.session->user, request.name(), false);
    if (!object) return Result::kNotFound;
    FillObjectInfo(*object, response->mutable_object());
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
    for (const StoredObject &object : hsm.keys.List(conn.session->user, request.kind()))
        FillObjectInfo(object, response->add_objects());
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
    for (const std::string &slot : {request.slot1(), request.slot2()}) {
        if (Result r = CheckObjectName(slot); r != Result::kOk) return r;
        if (Result r = CheckIsKey(hsm, conn, slot); r != Result::kOk) return r;
    }
    StoredObject map =
        NewMap(conn, request.name(), ObjectKind::kMap, kMapObjectType, request.slot1());
    map.second = request.slot2();
    return hsm.keys.Insert(&map, "Map created: " + map.name);
}

Result HandlePkcs11MapCreate(HsmContext &hsm, const ConnectionState &conn,
                             const wire::pb::Pkcs11MapCreate &request) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (Result r = CheckObjectName(request.key_name()); r != Result::kOk) return r;
    if (request.label().size() > kMaxPkcs11LabelBytes) return Result::kInvalidLength;
    if (Result r = CheckIsKey(hsm, conn, request.key_name()); r != Result::kOk) return r;
    // Certificates are objects of their own that this HSM does not hold yet.
    if (!request.cert_name().empty()) return Result::kNotFound;
    StoredObject map = NewMap(conn, request.name(), ObjectKind::kPkcs11Map, kPkcs11MapObjectType,
                              request.key_name());
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
