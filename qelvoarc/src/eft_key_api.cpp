// EFT keys: import from custodians' components, check values on the HSM and offline.

#include <openssl/crypto.h>

#include <cstring>

#include "abi_guard.h"
#include "check_value.h"
#include "key_objects.h"
#include "library_state.h"
#include "listing_snapshot.h"
#include "qelvoarc.h"

namespace qelvoarc {
namespace {

bool IsDesFamily(uint32_t algorithm) {
    return algorithm == Q_ALG_DES || algorithm == Q_ALG_3DES_112 || algorithm == Q_ALG_3DES_168;
}

bool IsAes(uint32_t algorithm) {
    return algorithm == Q_ALG_AES_128 || algorithm == Q_ALG_AES_192 || algorithm == Q_ALG_AES_256;
}

uint32_t PutCheckValue(const wire::CheckValue &value, uint8_t *kcv, uint32_t *kcvLength) {
    if (*kcvLength < value.size()) {
        *kcvLength = static_cast<uint32_t>(value.size());
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(kcv, value.data(), value.size());
    *kcvLength = static_cast<uint32_t>(value.size());
    return wire::OK;
}

void WipeEftImport(pb::Request &request) {
    std::string *record = request.mutable_eft_import_key()->mutable_record();
    OPENSSL_cleanse(record->data(), record->size());
}

uint32_t EftImportKey(QSessionHandle handle, const char *keyName, uint32_t algorithm,
                      const void *record, uint32_t format) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name;
    if (record == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(keyName, &name)) != wire::OK) return status;
    size_t size = 0;
    if (IsDesFamily(algorithm))
        size = sizeof(QEftComponentRecord);
    else if (IsAes(algorithm))
        size = sizeof(QEftAesComponentRecord);
    else
        return wire::ERR_BAD_ALGORITHM;
    if (format != Q_KCV_FORMAT_KCV && format != Q_KCV_FORMAT_CMAC)
        return wire::ERR_INVALID_PARAMETER;
    status = session->CallWithSecret(
        [&](pb::Request &request) {
            pb::EftImportKey *import = request.mutable_eft_import_key();
            import->set_name(name);
            import->set_algorithm(algorithm);
            import->set_record(record, size);
            import->set_format(format);
        },
        &WipeEftImport);
    if (status == wire::OK) ForgetListed(session.get(), name);
    return status;
}

uint32_t GenKcvOffline(uint32_t format, uint32_t algorithm, const uint8_t *key, uint32_t keyLength,
                       uint32_t reserved, uint8_t *kcv, uint32_t *kcvLength) {
    if (key == nullptr || kcv == nullptr || kcvLength == nullptr || reserved != 0)
        return wire::ERR_INVALID_PARAMETER;
    if (format != Q_KCV_OFFLINE_KCV && format != Q_KCV_OFFLINE_CMAC)
        return wire::ERR_INVALID_PARAMETER;
    wire::CheckValue value{};
    wire::Status status = wire::ComputeCheckValue(
        algorithm,
        format == Q_KCV_OFFLINE_CMAC ? wire::CheckValueFormat::kCmac : wire::CheckValueFormat::kKcv,
        std::string_view(reinterpret_cast<const char *>(key), keyLength), &value);
    // The entry was right but the computation failed: the custodian may simply try again.
    if (status == wire::ERR_INTERNAL) return wire::ERR_KCV_RETRY;
    if (status != wire::OK) return status;
    return PutCheckValue(value, kcv, kcvLength);
}

uint32_t GetKcv(QSessionHandle handle, const char *keyName, uint32_t format, uint8_t *kcv,
                uint32_t *kcvLength) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name;
    if (kcv == nullptr || kcvLength == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(keyName, &name)) != wire::OK) return status;
    return session->Call(
        [&](pb::Request &request) {
            pb::KeyCheckValue *check = request.mutable_key_check_value();
            check->set_name(name);
            check->set_format(format);
        },
        [&](const pb::Response &response) -> uint32_t {
            wire::CheckValue value{};
            if (response.data().size() != value.size()) return wire::ERR_PROTOCOL;
            std::memcpy(value.data(), response.data().data(), value.size());
            return PutCheckValue(value, kcv, kcvLength);
        });
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QEFTImportKey(QSessionHandle session, const char *keyName, uint32_t algorithm,
                       const void *record, uint32_t format) {
    return Guarded(
        [&] { return qelvoarc::EftImportKey(session, keyName, algorithm, record, format); });
}

uint32_t QEFTGenKCVOffline(uint32_t format, uint32_t algorithm, const uint8_t *key,
                           uint32_t keyLength, uint32_t reserved, uint8_t *kcv, uint32_t *kcvLength,
                           uint32_t) {
    return Guarded([&] {
        return qelvoarc::GenKcvOffline(format, algorithm, key, keyLength, reserved, kcv, kcvLength);
    });
}

uint32_t QEFTGetKcv(QSessionHandle session, const char *keyName, uint32_t format, uint8_t *kcv,
                    uint32_t *kcvLength, uint32_t) {
    return Guarded([&] { return qelvoarc::GetKcv(session, keyName, format, kcv, kcvLength); });
}

}  // extern "C"
