// Objects of the session's partition: listing, description, removal, map objects and
// PKCS#11 maps.

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "abi_guard.h"
#include "callback_delivery.h"
#include "key_objects.h"
#include "library_state.h"
#include "listing_snapshot.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

[[nodiscard]] uint32_t ListObjects(QSessionHandle handle, pb::ObjectKind kind,
                                   QNameCallback callback, void *context) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    if (callback == nullptr) return wire::ERR_INVALID_PARAMETER;
    pb::ListObjects request;
    request.set_kind(kind);
    std::vector<pb::ObjectInfo> objects;
    status = Remote<pb::ListObjectsReply>(
        *session, std::move(request), [&](const pb::ListObjectsReply &reply) {
            objects.assign(reply.objects().begin(), reply.objects().end());
        });
    if (status != wire::OK) return status;
    std::vector<std::string> names;
    names.reserve(objects.size());
    for (const pb::ObjectInfo &info : objects)
        names.push_back(info.name());
    ListingScope scope(session.get(), objects);
    return DeliverNames(names, callback, context);
}

[[nodiscard]] uint32_t RemoveObject(QSessionHandle handle, const char *name) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string objectName;
    if ((status = ObjectName(name, &objectName)) != wire::OK) return status;
    // A listed PKCS#11 map's targets name it (key parameter 20) until it goes.
    std::optional<pb::ObjectInfo> listed = FindListed(session.get(), objectName);
    pb::RemoveObject request;
    request.set_name(objectName);
    status = Remote<pb::RemoveObjectReply>(*session, std::move(request));
    if (status != wire::OK) return status;
    ForgetListed(session.get(), objectName);
    if (listed && listed->kind() == pb::OBJECT_PKCS11_MAP) {
        ForgetListed(session.get(), listed->target());
        ForgetListed(session.get(), listed->second());
    }
    return wire::OK;
}

[[nodiscard]] uint32_t GetObjInfo(QSessionHandle handle, const char *name, QObjInfo *out) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string objectName;
    if (out == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(name, &objectName)) != wire::OK) return status;
    pb::ObjectInfo info;
    if ((status = OpenObject(*session, objectName, Q_KEY_OPEN_DEFAULT, &info)) != wire::OK)
        return status;
    QObjInfo result{};
    CopyField(result.name, info.name());
    result.algorithm = info.algorithm();
    result.attributes = info.attributes();
    result.size = info.length();
    result.created = static_cast<uint64_t>(info.created());
    *out = result;
    return wire::OK;
}

[[nodiscard]] uint32_t GenerateMapObj(QSessionHandle handle, const char *mapName,
                                      const char *slot1Name, uint32_t slot1Type,
                                      const char *slot2Name, uint32_t slot2Type) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name, slot1, slot2;
    if ((status = ObjectName(mapName, &name)) != wire::OK ||
        (status = ObjectName(slot1Name, &slot1)) != wire::OK ||
        (status = ObjectName(slot2Name, &slot2)) != wire::OK)
        return status;
    pb::CreateMap request;
    request.set_name(name);
    request.set_slot1(slot1);
    request.set_slot1_type(slot1Type);
    request.set_slot2(slot2);
    request.set_slot2_type(slot2Type);
    return Remote<pb::CreateMapReply>(*session, std::move(request));
}

[[nodiscard]] uint32_t GeneratePkcs11Map(QSessionHandle handle, const char *mapName,
                                         const char *keyName, const char *certName,
                                         const char *label) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name, key, cert;
    if ((status = ObjectName(mapName, &name)) != wire::OK ||
        (status = ObjectName(keyName, &key)) != wire::OK)
        return status;
    if (certName != nullptr && certName[0] != '\0' &&
        (status = ObjectName(certName, &cert)) != wire::OK)
        return status;
    constexpr size_t kLabelField = sizeof(QPkcs11MapInfo::label) - 1;
    std::string p11Label = label == nullptr ? std::string() : BoundedText(label, kLabelField + 1);
    if (p11Label.size() > kLabelField) return wire::ERR_INVALID_LENGTH;
    pb::CreatePkcs11Map request;
    request.set_name(name);
    request.set_key_name(key);
    request.set_cert_name(cert);
    request.set_label(p11Label);
    status = Remote<pb::CreatePkcs11MapReply>(*session, std::move(request));
    if (status != wire::OK) return status;
    // What a listing fetched of the target and certificate no longer names their map.
    ForgetListed(session.get(), key);
    ForgetListed(session.get(), cert);
    return wire::OK;
}

QPkcs11MapDetails ToDetails(const pb::GetPkcs11MapDetailsReply &details) {
    QPkcs11MapDetails result{};
    CopyField(result.info.target, details.target());
    CopyField(result.info.label, details.label());
    CopyField(result.associate, details.associate());
    result.objectClass = details.object_class();
    CopyField(result.application, details.application());
    const std::string &id = details.id();
    result.idLength = static_cast<uint32_t>(std::min(id.size(), sizeof result.id));
    std::memcpy(result.id, id.data(), result.idLength);
    result.trusted = details.trusted() ? 1 : 0;
    result.wrapWithTrusted = details.wrap_with_trusted() ? 1 : 0;
    result.local = details.local() ? 1 : 0;
    result.certificateCategory = details.certificate_category();
    result.javaMidpSecurityDomain = details.java_midp_security_domain();
    result.keyGenMechanism = details.key_gen_mechanism();
    return result;
}

[[nodiscard]] uint32_t ReadPkcs11MapDetails(Session &session, const std::string &name,
                                            QPkcs11MapDetails *out) {
    pb::GetPkcs11MapDetails request;
    request.set_name(name);
    return Remote<pb::GetPkcs11MapDetailsReply>(
        session, std::move(request),
        [&](const pb::GetPkcs11MapDetailsReply &reply) { *out = ToDetails(reply); });
}

[[nodiscard]] uint32_t GetPkcs11Map(QSessionHandle handle, const char *mapName, uint32_t level,
                                    uint32_t reserved, QPkcs11MapInfo *out) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name;
    if (out == nullptr || reserved != 0 ||
        (level != Q_PKCS11_MAP_LEVEL_BASIC && level != Q_PKCS11_MAP_LEVEL_FULL))
        return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(mapName, &name)) != wire::OK) return status;
    // The full record is the basic one's container: a caller asking for it passes &.info.
    if (level == Q_PKCS11_MAP_LEVEL_FULL)
        return ReadPkcs11MapDetails(*session, name, reinterpret_cast<QPkcs11MapDetails *>(out));
    pb::ObjectInfo info;
    if ((status = OpenObject(*session, name, Q_KEY_OPEN_DEFAULT, &info)) != wire::OK) return status;
    if (info.kind() != pb::OBJECT_PKCS11_MAP) return wire::ERR_WRONG_OBJECT_TYPE;
    QPkcs11MapInfo result{};
    CopyField(result.target, info.target());
    CopyField(result.label, info.p11_label());
    *out = result;
    return wire::OK;
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QListObjs(QSessionHandle session, QNameCallback callback, void *context) {
    return Guarded(
        [&] { return qelvoarc::ListObjects(session, wire::pb::OBJECT_ANY, callback, context); });
}

uint32_t QListPkcs11Maps(QSessionHandle session, QNameCallback callback, void *context) {
    return Guarded([&] {
        return qelvoarc::ListObjects(session, wire::pb::OBJECT_PKCS11_MAP, callback, context);
    });
}

uint32_t QRemoveObj(QSessionHandle session, const char *name) {
    return Guarded([&] { return qelvoarc::RemoveObject(session, name); });
}

uint32_t QGetObjInfo(QSessionHandle session, const char *name, QObjInfo *info, uint32_t) {
    return Guarded([&] { return qelvoarc::GetObjInfo(session, name, info); });
}

uint32_t QGenerateMapObj(QSessionHandle session, const char *mapName, const char *slot1Name,
                         uint32_t slot1Type, const char *slot2Name, uint32_t slot2Type) {
    return Guarded([&] {
        return qelvoarc::GenerateMapObj(session, mapName, slot1Name, slot1Type, slot2Name,
                                        slot2Type);
    });
}

uint32_t QGeneratePkcs11Map(QSessionHandle session, const char *mapName, const char *keyName,
                            const char *certName, const char *label, uint32_t) {
    return Guarded(
        [&] { return qelvoarc::GeneratePkcs11Map(session, mapName, keyName, certName, label); });
}

uint32_t QGetPkcs11Map(QSessionHandle session, const char *mapName, uint32_t level,
                       uint32_t reserved, QPkcs11MapInfo *info) {
    return Guarded([&] { return qelvoarc::GetPkcs11Map(session, mapName, level, reserved, info); });
}

}  // extern "C"
