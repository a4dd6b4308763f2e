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
        case 1:
            return 0x120;  // CKM_DES_KEY_GEN
        case 2:
            return 0x130;  // CKM_DES2_KEY_GEN
        case 3:
            return 0x131;  // CKM_DES3_KEY_GEN
        case 7:
        case 8:
        case 9:
            return 0x1080;  // CKM_AES_KEY_GEN
        case 10:
            return 0x110;  // CKM_RC4_KEY_GEN
        case 89:
            return 0x330;  // CKM_RC5_KEY_GEN
        default:
            return 0x350;  // DESX has no mechanism of its own: CKM_GENERIC_SECRET_KEY_GEN
    }
}

Result DescribeKeyTarget(HsmContext &hsm, const StoredObject &key,
                         wire::pb::Pkcs11MapDetails *details) {
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

}  // namespace

Result HandlePkcs11MapDetailsRead(HsmContext &hsm, const ConnectionState &conn,
                                  const wire::pb::Pkcs11MapDetailsRead &request,
                                  wire::pb::Response *response) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    const std::string &owner = conn.session->user;
    std::optional<StoredObject> map = hsm.keys.Find(owner, request.name(), false);
    if (!map) return Result::kNotFound;
    if (map->kind != ObjectKind::kPkcs11Map) return Result::kWrongObjectType;
    // The target may have been removed (or replaced) since the map was made.
    std::optional<StoredObject> target = hsm.keys.Find(owner, map->target, true);
    if (!target) return Result::kNotFound;

    wire::pb::Pkcs11MapDetails *details = response->mutable_pkcs11_map_details();
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

}  // namespace sim
