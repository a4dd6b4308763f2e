#include "service/key_service.h"

#include <algorithm>
#include <initializer_list>

#include "crypto/key_algorithm.h"
#include "crypto/key_check_value.h"
#include "crypto/key_components.h"
#include "crypto/key_generator.h"
#include "service/certificate_service.h"
#include "service/object_info.h"
#include "service/partition_keys.h"

namespace sim {

namespace {

constexpr uint32_t kKnownFlags = pb::KEY_EXPORTABLE | pb::KEY_RSA_EXPONENT_3 | pb::KEY_BLOCKCHAIN;

bool In(uint32_t value, std::initializer_list<uint32_t> set) {
    return std::find(set.begin(), set.end(), value) != set.end();
}

// The usage profiles a key of this kind may carry; other kinds may carry any of them.
bool ProfileAllowed(const KeyAlgorithm &algorithm, uint32_t profile) {
    if (profile == 0) return true;
    if (algorithm.id == pb::ALG_3DES_112 || algorithm.id == pb::ALG_3DES_168)
        return In(profile, {2, 3, 4, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 19, 20, 21, 23});
    if (wire::IsAes(algorithm.id)) return In(profile, {2, 3, 7, 18, 23});
    if (algorithm.keyClass == KeyClass::kRsa)
        return In(profile, {1, 2, 3, 4, 5, 6, 7, 8, 22, 24, 25});
    return true;
}

Result CheckAttributes(const KeyAlgorithm &algorithm, uint32_t attributes) {
    uint32_t flags = attributes & 0xFFFFFFu;
    uint32_t profile = attributes >> 24;
    if ((flags & ~kKnownFlags) != 0 || profile > 25 || !ProfileAllowed(algorithm, profile))
        return Result::kInvalidParameter;
    if ((flags & pb::KEY_RSA_EXPONENT_3) && algorithm.keyClass != KeyClass::kRsa)
        return Result::kInvalidParameter;
    if ((flags & pb::KEY_BLOCKCHAIN) && algorithm.keyClass != KeyClass::kEc &&
        algorithm.id != pb::ALG_ED25519)
        return Result::kInvalidParameter;
    return Result::kOk;
}

Result HandleGenerateKey(Call &call, const pb::GenerateKey &request, pb::GenerateKeyReply *reply) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    const KeyAlgorithm *algorithm = FindKeyAlgorithm(request.algorithm());
    if (algorithm == nullptr) return Result::kBadAlgorithm;
    if (Result r = CheckAttributes(*algorithm, request.attributes()); r != Result::kOk) return r;
    if (call.hsm.keys.Find(call.session().user, request.name(), false))
        return Result::kAlreadyExists;
    KeyMaterial material;
    if (Result r = GenerateKeyMaterial(*algorithm, request.attributes(), &material);
        r != Result::kOk)
        return r;
    return StoreKey(call, request.name(), *algorithm, request.attributes(), material,
                    KeyOrigin::kGenerated, AlgorithmNote("Key generated", *algorithm),
                    reply->mutable_object());
}

Result HandleImportKey(Call &call, const pb::ImportKey &request, pb::ImportKeyReply *reply) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (request.blob_type() == pb::BLOB_X509_CERT)
        return ImportCertificate(call, request, reply->mutable_object());
    if (request.blob_type() != pb::BLOB_CLEAR_SYMMETRIC) return Result::kNotSupported;
    const KeyAlgorithm *algorithm = FindKeyAlgorithm(request.algorithm());
    if (algorithm == nullptr ||
        (algorithm->keyClass != KeyClass::kSymmetric && algorithm->keyClass != KeyClass::kHmac))
        return Result::kBadAlgorithm;
    if (request.material().size() != algorithm->length) return Result::kInvalidLength;
    if (Result r = CheckAttributes(*algorithm, request.attributes()); r != Result::kOk) return r;
    KeyMaterial material{SecretBytes(request.material()), {}};
    return StoreKey(call, request.name(), *algorithm, request.attributes(), material,
                    KeyOrigin::kImported, AlgorithmNote("Clear key imported", *algorithm),
                    reply->mutable_object());
}

Result HandleGetKeyCheckValue(Call &call, const pb::GetKeyCheckValue &request,
                              pb::GetKeyCheckValueReply *reply) {
    if (!pb::CheckValueFormat_IsValid(request.format())) return Result::kInvalidParameter;
    StoredObject object;
    SecretBytes material;
    if (Result r = OpenKey(call, request.name(), &object, &material); r != Result::kOk) return r;
    wire::CheckValue value{};
    Result r = KeyCheckValue(object.algorithm, request.format(), material.view(), &value);
    if (r == Result::kInvalidLength) return Result::kInternal;
    if (r != Result::kOk) return r;
    reply->set_check_value(value.data(), value.size());
    return Result::kOk;
}

// DES-family keys joined from components are never exportable; AES keys carry the
// attributes the custodians chose.
Result HandleImportKeyComponents(Call &call, const pb::ImportKeyComponents &request,
                                 pb::ImportKeyComponentsReply *reply) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    if (!pb::CheckValueFormat_IsValid(request.format())) return Result::kInvalidParameter;
    const KeyAlgorithm *algorithm = FindKeyAlgorithm(request.algorithm());
    if (algorithm == nullptr) return Result::kBadAlgorithm;
    KeyComponents components{
        {request.components().begin(), request.components().end()},
        {request.component_check_values().begin(), request.component_check_values().end()},
        request.key_check_value(),
        request.format()};
    KeyMaterial material;
    if (Result r = JoinKeyComponents(algorithm->id, components, &material.secret); r != Result::kOk)
        return r;
    uint32_t attributes = wire::IsAes(algorithm->id) ? request.attributes() : 0;
    if (Result r = CheckAttributes(*algorithm, attributes); r != Result::kOk) return r;
    return StoreKey(call, request.name(), *algorithm, attributes, material, KeyOrigin::kImported,
                    AlgorithmNote("Key imported from components", *algorithm),
                    reply->mutable_object());
}

// Blocking is the only key parameter that changes; the reply describes the key anew.
Result HandleSetKeyBlocked(Call &call, const pb::SetKeyBlocked &request,
                           pb::SetKeyBlockedReply *reply) {
    StoredObject key;
    if (Result r = FindHandleObject(call.hsm.keys, call.session().user, request.name(),
                                    request.object_id(), false, &key);
        r != Result::kOk)
        return r;
    if (key.kind != ObjectKind::kKey) return Result::kWrongObjectType;
    key.blocked = request.blocked();
    if (Result r = call.hsm.keys.SetBlocked(call.actor(), key, key.blocked); r != Result::kOk)
        return r;
    DescribeObject(call.hsm.keys, key, reply->mutable_object());
    return Result::kOk;
}

}  // namespace

void RegisterKeyService(DispatchTable &table) {
    table.Add<&pb::Request::generate_key, &pb::Response::mutable_generate_key>(
        HandleGenerateKey, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::import_key, &pb::Response::mutable_import_key>(
        HandleImportKey, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::get_key_check_value, &pb::Response::mutable_get_key_check_value>(
        HandleGetKeyCheckValue, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::import_key_components, &pb::Response::mutable_import_key_components>(
        HandleImportKeyComponents, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::set_key_blocked, &pb::Response::mutable_set_key_blocked>(
        HandleSetKeyBlocked, Needs::Nothing(), kNormalSessions, pb::MOFN_PERMISSION_BLOCK);
}

}  // namespace sim
