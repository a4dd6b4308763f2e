#include "service/pkcs11_map_details.h"

#include "crypto/key_algorithm.h"
#include "crypto/public_key_id.h"
#include "service/object_info.h"

namespace sim {

namespace {

// CKA_CLASS values.
constexpr uint32_t kCkoCertificate = 1;
constexpr uint32_t kCkoPrivateKey = 3;
constexpr uint32_t kCkoSecretKey = 4;

constexpr uint32_t kMechanismUnavailable = 0xFFFFFFFF;

// The CKM_*_KEY_GEN or CKM_*_KEY_PAIR_GEN mechanism that makes a key of `algorithm`.
uint32_t GenerationMechanism(const KeyAlgorithm &algorithm) {
    switch (algorithm.keyClass) {
        case KeyClass::kRsa:
            return 0x0;  // CKM_RSA_PKCS_KEY_PAIR_GEN
        case KeyClass::kEc:
            return 0x1040;  // CKM_EC_KEY_PAIR_GEN
        case KeyClass::kEdwards:
            return 0x1055;  // CKM_EC_EDWARDS_KEY_PAIR_GEN
        case KeyClass::kMontgomery:
            return 0x1056;  // CKM_EC_MONTGOMERY_KEY_PAIR_GEN
        case KeyClass::kHmac:
            return 0x350;  // CKM_GENERIC_SECRET_KEY_GEN
        case KeyClass::kSymmetric:
            break;
    }
    switch (algorithm.id) {
        case pb::ALG_DES:
            return 0x120;  // CKM_DES_KEY_GEN
        case pb::ALG_3DES_112:
            return 0x130;  // CKM_DES2_KEY_GEN
        case pb::ALG_3DES_168:
            return 0x131;  // CKM_DES3_KEY_GEN
        case pb::ALG_AES_128:
        case pb::ALG_AES_192:
        case pb::ALG_AES_256:
            return 0x1080;  // CKM_AES_KEY_GEN
        case pb::ALG_ARC4:
            return 0x110;  // CKM_RC4_KEY_GEN
        case pb::ALG_ARC5:
            return 0x330;  // CKM_RC5_KEY_GEN
        default:
            return 0x350;  // DESX has no mechanism of its own: CKM_GENERIC_SECRET_KEY_GEN
    }
}

Result DescribeKeyTarget(HsmContext &hsm, const StoredObject &key,
                         pb::GetPkcs11MapDetailsReply *details) {
    const KeyAlgorithm *algorithm = FindKeyAlgorithm(key.algorithm);
    if (algorithm == nullptr) return Result::kInternal;
    details->set_local(key.generated);
    if (key.generated) details->set_key_gen_mechanism(GenerationMechanism(*algorithm));
    if (algorithm->keyClass == KeyClass::kSymmetric || algorithm->keyClass == KeyClass::kHmac) {
        details->set_object_class(kCkoSecretKey);
        return Result::kOk;
    }
    details->set_object_class(kCkoPrivateKey);
    SecretBytes material;
    if (Result r = UnsealMaterial(hsm.masterKey, key, &material); r != Result::kOk) return r;
    std::optional<std::string> id = PrivateKeyId(material.view());
    if (!id) return Result::kInternal;
    details->set_id(*id);
    return Result::kOk;
}

Result HandleGetPkcs11MapDetails(Call &call, const pb::GetPkcs11MapDetails &request,
                                 pb::GetPkcs11MapDetailsReply *details) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    HsmContext &hsm = call.hsm;
    const std::string &owner = call.session().user;
    std::optional<StoredObject> map = hsm.keys.Find(owner, request.name(), false);
    if (!map) return Result::kNotFound;
    if (map->kind != ObjectKind::kPkcs11Map) return Result::kWrongObjectType;
    // The target may have been removed (or replaced) since the map was made.
    std::optional<StoredObject> target = hsm.keys.Find(owner, map->target, true);
    if (!target) return Result::kNotFound;

    details->set_target(map->target);
    details->set_label(map->p11Label);
    details->set_associate(map->second);
    details->set_key_gen_mechanism(kMechanismUnavailable);
    if (target->kind == ObjectKind::kKey) return DescribeKeyTarget(hsm, *target, details);
    if (target->kind != ObjectKind::kCertificate) return Result::kWrongObjectType;
    details->set_object_class(kCkoCertificate);
    std::optional<std::string> id = CertificateKeyId(target->certificate);
    if (!id) return Result::kInternal;
    details->set_id(*id);
    return Result::kOk;
}

}  // namespace

void RegisterPkcs11MapDetails(DispatchTable &table) {
    table.Add<&pb::Request::get_pkcs11_map_details, &pb::Response::mutable_get_pkcs11_map_details>(
        HandleGetPkcs11MapDetails, Needs::Nothing(), kNormalSessions);
}

}  // namespace sim
