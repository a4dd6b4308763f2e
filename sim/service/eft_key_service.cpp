#include "service/eft_key_service.h"

#include <openssl/crypto.h>

#include <string>
#include <vector>

#include "check_value.h"
#include "crypto/key_check_value.h"
#include "crypto/key_components.h"
#include "service/logged_outcome.h"
#include "service/object_info.h"
#include "service/partition_keys.h"

namespace sim {

namespace {

// A key of the partition that may be used now: not blocked, and of the DES family when asked.
Result OpenUsableKey(Call &call, const std::string &name, bool desFamily, StoredObject *object,
                     SecretBytes *material) {
    return OpenUsableKey(call.hsm, call.session().user, name, desFamily, object, material);
}

Result ClassicCheckValue(uint32_t algorithm, std::string_view key, std::string *out) {
    wire::CheckValue value{};
    if (Result r = KeyCheckValue(algorithm, pb::KCV_CLASSIC, key, &value); r != Result::kOk)
        return r;
    out->assign(reinterpret_cast<const char *>(value.data()), value.size());
    return Result::kOk;
}

Result HandleGenerateCvv(Call &call, const pb::GenerateCvv &request, pb::GenerateCvvReply *reply) {
    return Logged(
        call, "CVV generated with key: " + request.name(),
        PartitionCvv(call.hsm, call.session().user, request.name(), request.pan(),
                     request.expiration_date(), request.service_code(), reply->mutable_cvv()),
        false);
}

// A KEK protects only keys no longer than itself.
Result OpenKek(Call &call, const std::string &name, size_t keyLength, StoredObject *kek,
               SecretBytes *material) {
    if (Result r = OpenUsableKey(call, name, true, kek, material); r != Result::kOk) return r;
    return material->size() < keyLength ? Result::kKekTooWeak : Result::kOk;
}

Result ImportUnderKek(Call &call, const pb::ImportKeyUnderKek &request,
                      pb::ImportKeyUnderKekReply *reply) {
    if (Result r = CheckObjectName(request.name()); r != Result::kOk) return r;
    const KeyAlgorithm *algorithm = FindKeyAlgorithm(request.algorithm());
    if (algorithm == nullptr || !wire::IsDesFamily(algorithm->id)) return Result::kBadAlgorithm;
    if (request.wrapped().size() != algorithm->length ||
        request.key_check_value().size() != wire::kCheckValueBytes)
        return Result::kInvalidLength;
    StoredObject kek;
    SecretBytes kekMaterial;
    if (Result r = OpenKek(call, request.kek_name(), algorithm->length, &kek, &kekMaterial);
        r != Result::kOk)
        return r;
    KeyMaterial key;
    if (wire::DesFamilyEcb(kekMaterial.view(), false, request.wrapped(),
                           &key.secret.mutable_bytes()) != wire::OK)
        return Result::kInternal;
    std::string kcv;
    if (Result r = ClassicCheckValue(algorithm->id, key.secret.view(), &kcv); r != Result::kOk)
        return r;
    if (CRYPTO_memcmp(kcv.data(), request.key_check_value().data(), kcv.size()) != 0)
        return Result::kKcvMismatch;
    return StoreKey(
        call, request.name(), *algorithm, 0, key, KeyOrigin::kImported,
        AlgorithmNote(("Key imported under KEK " + request.kek_name()).c_str(), *algorithm),
        reply->mutable_object());
}

Result HandleImportKeyUnderKek(Call &call, const pb::ImportKeyUnderKek &request,
                               pb::ImportKeyUnderKekReply *reply) {
    return Logged(call, "Key import under KEK " + request.kek_name() + ": " + request.name(),
                  ImportUnderKek(call, request, reply), true);
}

// The key leaves only when it is exportable, and never in clear.
Result OpenExportableKey(Call &call, const std::string &name, bool desFamily, StoredObject *key,
                         SecretBytes *material) {
    if (Result r = OpenUsableKey(call, name, desFamily, key, material); r != Result::kOk) return r;
    return (key->attributes & pb::KEY_EXPORTABLE) == 0 ? Result::kNotExportable : Result::kOk;
}

Result ExportUnderKek(Call &call, const pb::ExportKeyUnderKek &request,
                      pb::ExportKeyUnderKekReply *reply) {
    StoredObject key;
    SecretBytes material;
    if (Result r = OpenExportableKey(call, request.name(), true, &key, &material); r != Result::kOk)
        return r;
    StoredObject kek;
    SecretBytes kekMaterial;
    if (Result r = OpenKek(call, request.kek_name(), material.size(), &kek, &kekMaterial);
        r != Result::kOk)
        return r;
    if (wire::DesFamilyEcb(kekMaterial.view(), true, material.view(), reply->mutable_wrapped()) !=
        wire::OK)
        return Result::kInternal;
    return ClassicCheckValue(key.algorithm, material.view(), reply->mutable_key_check_value());
}

Result HandleExportKeyUnderKek(Call &call, const pb::ExportKeyUnderKek &request,
                               pb::ExportKeyUnderKekReply *reply) {
    return Logged(call, "Key exported under KEK " + request.kek_name() + ": " + request.name(),
                  ExportUnderKek(call, request, reply), false);
}

Result ExportComponents(Call &call, const pb::ExportKeyComponents &request,
                        pb::ExportKeyComponentsReply *reply) {
    if (!pb::CheckValueFormat_IsValid(request.format())) return Result::kInvalidParameter;
    StoredObject key;
    SecretBytes material;
    if (Result r = OpenExportableKey(call, request.name(), false, &key, &material);
        r != Result::kOk)
        return r;
    const bool des = wire::IsDesFamily(key.algorithm);
    if (des == request.aes() || (!des && !wire::IsAes(key.algorithm))) return Result::kBadAlgorithm;
    const pb::CheckValueFormat format = des ? pb::KCV_CLASSIC : request.format();
    std::vector<SecretBytes> components;
    if (Result r = SplitKeyComponents(key.algorithm, material.view(), request.parts(), &components);
        r != Result::kOk)
        return r;
    wire::CheckValue value{};
    for (const SecretBytes &component : components) {
        if (Result r = KeyCheckValue(key.algorithm, format, component.view(), &value);
            r != Result::kOk)
            return r;
        reply->add_components(component.view());
        reply->add_component_check_values(value.data(), value.size());
    }
    if (Result r = KeyCheckValue(key.algorithm, format, material.view(), &value); r != Result::kOk)
        return r;
    reply->set_key_check_value(value.data(), value.size());
    reply->set_algorithm(static_cast<pb::Algorithm>(key.algorithm));
    reply->set_attributes(key.attributes);
    return Result::kOk;
}

Result HandleExportKeyComponents(Call &call, const pb::ExportKeyComponents &request,
                                 pb::ExportKeyComponentsReply *reply) {
    return Logged(
        call,
        "Key exported as " + std::to_string(request.parts()) + " components: " + request.name(),
        ExportComponents(call, request, reply), false);
}

}  // namespace

void RegisterEftKeyService(DispatchTable &table) {
    table.Add<&pb::Request::generate_cvv, &pb::Response::mutable_generate_cvv>(
        HandleGenerateCvv, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::import_key_under_kek, &pb::Response::mutable_import_key_under_kek>(
        HandleImportKeyUnderKek, Needs::Nothing(), kNormalSessions);
    table.Add<&pb::Request::export_key_under_kek, &pb::Response::mutable_export_key_under_kek>(
        HandleExportKeyUnderKek, Needs::Nothing(), kNormalSessions, pb::MOFN_PERMISSION_EXPORT);
    table.Add<&pb::Request::export_key_components, &pb::Response::mutable_export_key_components>(
        HandleExportKeyComponents, Needs::Nothing(), kNormalSessions, pb::MOFN_PERMISSION_EXPORT);
}

}  // namespace sim
