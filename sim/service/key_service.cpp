#include "service/key_service.h"

#include <algorithm>
#include <initializer_list>

#include "crypto/key_algorithm.h"
#include "crypto/key_check_value.h"
#include "crypto/key_components.h"
#include "crypto/key_generator.h"
#include "service/certificate_service.h"
#include "service/object_info.h"

namespace sim {

namespace {

constexpr uint32_t kBlockchain = 0x4000;
constexpr uint32_t kKnownFlags = kAttributeExportable | kAttributeRsaExponent3 | kBlockchain;
constexpr uint32_t kEdDsa25519 = 201;
constexpr uint32_t kParamBlocked = 12;

enum class KeyOrigin { kGenerated, kImported };

bool In(uint32_t value, std::initializer_list<uint32_t> set) {
    return std::find(set.begin(), set.end(), value) != set.end();
}

// The usage profiles a key of this kind may carry; other kinds may carry any of them.
bool ProfileAllowed(const KeyAlgorithm &algorithm, uint32_t profile) {
    if (profile == 0) return true;
    if (algorithm.id == 2 || algorithm.id == 3)
        return In(profile, {2, 3, 4, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 19, 20, 21, 23});
    if (algorithm.id >= 7 && algorithm.id <= 9) return In(profile, {2, 3, 7, 18, 23});
    if (algorithm.keyClass == KeyClass::kRsa)
        return In(profile, {1, 2, 3, 4, 5, 6, 7, 8, 22, 24, 25});
    return true;
}

Result CheckAttributes(const KeyAlgorithm &algorithm, uint32_t attributes) {
    uint32_t flags = attributes & 0xFFFFFFu;
    uint32_t profile = attributes >> 24;
    if ((flags & ~kKnownFlags) != 0 || profile > 25 || !ProfileAllowed(algorithm, profile))
        return Result::kInvalidParameter;
    if ((flags & kAttributeRsaExponent3) && algorithm.keyClass != KeyClass::kRsa)
        return Result::kInvalidParameter;
    if ((flags & kBlockchain) && algorithm.keyClass != KeyClass::kEc && algorithm.id != kEdDsa25519)
        return Result::kInvalidParameter;
    return Result::kOk;
}

Result StoreKey(HsmContext &hsm, const ConnectionState &conn, const std::string &name,
                const KeyAlgorithm &algorithm, uint32_t attributes, const KeyMaterial &material,
                KeyOrigin origin, const std::string &event, wire::pb::Response *response) {
    StoredObject object;
    object.owner = conn.session->user;
    object.name = name;
    object.kind = ObjectKind::kKey;
    object.algorithm = algorithm.id;
    object.attributes = attributes;
    object.length = algorithm.length;
    object.sealed = hsm.masterKey.Seal(material.secret.view(), SealingContext(object.owner, name));
    object.publicExponent = material.publicExponent;
    object.generated = origin == KeyOrigin::kGenerated;
    if (Result r = hsm.keys.Insert(&object, event + ": " + name); r != Result::kOk) return r;
    DescribeObject(hsm.keys, object, response->mutable_object());
    return Result::kOk;
}

// The clear material of a key of the caller's partition.
Result OpenKey(HsmContext &hsm, const ConnectionState &conn, const std::string &name,
               StoredObject *object, SecretBytes *material) {
    std::optional<StoredObject> found = hsm.keys.Find(conn.session->user, name, true);
    if (!found) return Result::kNotFound;
    if (found->kind != ObjectKind::kKey) return Result::kWrongObjectType;
    if (Result r = UnsealMaterial(hsm.masterKey, *found, material); r != Result::kOk) return r;
    *object = std::move(*found);
    return Result::kOk;
}

std::optional<wire::CheckValueFormat> FormatOf(uint32_t format) {
    if (format == 0) return wire::CheckValueFormat::kKcv;
    if (format == 1) return wire::CheckValueFormat::kCmac;
    return std::nullopt;
}

}  // namespace

Result HandleKeyGenerate(HsmContext &hsm, const ConnectionState &conn,
                         const wire::pb::KeyGenerate &request, wire::pb::Response *response) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    const KeyAlgorithm *algorithm = FindKeyAlgorithm(request.algorithm());
    if (algorithm == nullptr) return Result::kBadAlgorithm;
    if (Result r = CheckAttributes(*algorithm, request.attributes()); r != Result::kOk) return r;
    if (hsm.keys.Find(conn.session->user, request.name(), false)) return Result::kAlreadyExists;
    KeyMaterial material;
    if (Result r = GenerateKeyMaterial(*algorithm, request.attributes(), &material);
        r != Result::kOk)
        return r;
    return StoreKey(hsm, conn, request.name(), *algorithm, request.attributes(), material,
                    KeyOrigin::kGenerated,
                    "Key generated (algorithm " + std::to_string(algorithm->id) + ")", response);
}

Result HandleKeyImport(HsmContext &hsm, const ConnectionState &conn,
                       const wire::pb::KeyImport &request, wire::pb::Response *response) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (request.blob_type() == kBlobCertificate)
        return ImportCertificate(hsm, conn, request, response);
    if (request.blob_type() != kBlobClearSymmetric) return Result::kNotSupported;
    const KeyAlgorithm *algorithm = FindKeyAlgorithm(request.algorithm());
    if (algorithm == nullptr ||
        (algorithm->keyClass != KeyClass::kSymmetric && algorithm->keyClass != KeyClass::kHmac))
        return Result::kBadAlgorithm;
    if (request.material().size() != algorithm->length) return Result::kInvalidLength;
    if (Result r = CheckAttributes(*algorithm, request.attributes()); r != Result::kOk) return r;
    KeyMaterial material{SecretBytes(request.material()), {}};
    return StoreKey(
        hsm, conn, request.name(), *algorithm, request.attributes(), material, KeyOrigin::kImported,
        "Clear key imported (algorithm " + std::to_string(algorithm->id) + ")", response);
}

Result HandleKeyCheckValue(HsmContext &hsm, const ConnectionState &conn,
                           const wire::pb::KeyCheckValue &request, wire::pb::Response *response) {
    std::optional<wire::CheckValueFormat> format = FormatOf(request.format());
    if (!format) return Result::kInvalidParameter;
    StoredObject object;
    SecretBytes material;
    if (Result r = OpenKey(hsm, conn, request.name(), &object, &material); r != Result::kOk)
        return r;
    wire::CheckValue value{};
    Result r = KeyCheckValue(object.algorithm, *format, material.view(), &value);
    if (r == Result::kInvalidLength) return Result::kInternal;
    if (r != Result::kOk) return r;
    response->set_data(value.data(), value.size());
    return Result::kOk;
}

Result HandleEftImportKey(HsmContext &hsm, const ConnectionState &conn,
                          const wire::pb::EftImportKey &request, wire::pb::Response *response) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    std::optional<wire::CheckValueFormat> format = FormatOf(request.format());
    if (!format) return Result::kInvalidParameter;
    const KeyAlgorithm *algorithm = FindKeyAlgorithm(request.algorithm());
    if (algorithm == nullptr) return Result::kBadAlgorithm;
    KeyMaterial material;
    uint32_t attributes = 0;
    if (Result r = JoinKeyComponents(request.algorithm(), request.record(), *format,
                                     &material.secret, &attributes);
        r != Result::kOk)
        return r;
    if (Result r = CheckAttributes(*algorithm, attributes); r != Result::kOk) return r;
    return StoreKey(
        hsm, conn, request.name(), *algorithm, attributes, material, KeyOrigin::kImported,
        "Key imported from components (algorithm " + std::to_string(algorithm->id) + ")", response);
}

Result HandleKeySetParam(HsmContext &hsm, const ConnectionState &conn,
                         const wire::pb::KeySetParam &request, wire::pb::Response *response) {
    if (request.param() != kParamBlocked || request.value() > 1) return Result::kInvalidParameter;
    StoredObject key;
    if (Result r = FindHandleObject(hsm.keys, conn.session->user, request.name(),
                                    request.object_id(), false, &key);
        r != Result::kOk)
        return r;
    if (key.kind != ObjectKind::kKey) return Result::kWrongObjectType;
    key.blocked = request.value() == 1;
    if (Result r = hsm.keys.SetBlocked(key, key.blocked); r != Result::kOk) return r;
    DescribeObject(hsm.keys, key, response->mutable_object());
    return Result::kOk;
}

}  // namespace sim
