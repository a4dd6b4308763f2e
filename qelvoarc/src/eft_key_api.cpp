// EFT keys: import from custodians' components, check values on the HSM and offline.

#include <openssl/crypto.h>

#include <cstring>
#include <utility>

#include "abi_guard.h"
#include "check_value.h"
#include "key_objects.h"
#include "library_state.h"
#include "listing_snapshot.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

[[nodiscard]] uint32_t PutCheckValue(const wire::CheckValue &value, uint8_t *kcv,
                                     uint32_t *kcvLength) {
    if (*kcvLength < value.size()) {
        *kcvLength = static_cast<uint32_t>(value.size());
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(kcv, value.data(), value.size());
    *kcvLength = static_cast<uint32_t>(value.size());
    return wire::OK;
}

// The components of the DES-family record: each with its check value, then the key's.
void AddDesComponents(const QEftComponentRecord &record, size_t keyLength,
                      pb::ImportKeyComponents *request) {
    for (const auto &[component, kcv] :
         {std::pair{&record.component1, &record.kcv1}, std::pair{&record.component2, &record.kcv2},
          std::pair{&record.component3, &record.kcv3}}) {
        request->add_components(*component, keyLength);
        request->add_component_check_values(*kcv, sizeof *kcv);
    }
    request->set_key_check_value(record.keyKcv, sizeof record.keyKcv);
    request->set_format(pb::KCV_CLASSIC);
}

// The components of the AES record, the key's check value and its attribute word.
void AddAesComponents(const QEftAesComponentRecord &record, size_t keyLength,
                      pb::CheckValueFormat format, pb::ImportKeyComponents *request) {
    for (const auto *component : {&record.component1, &record.component2, &record.component3})
        request->add_components(*component, keyLength);
    request->set_key_check_value(record.keyKcv, sizeof record.keyKcv);
    request->set_format(format);
    request->set_attributes(record.attributes);
}

// Each component travels with the algorithm's key length: the rest of its slot is padding.
[[nodiscard]] uint32_t EftImportKey(QSessionHandle handle, const char *keyName, uint32_t algorithm,
                                    const void *record, uint32_t format) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name;
    if (record == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(keyName, &name)) != wire::OK) return status;
    if (!wire::IsDesFamily(algorithm) && !wire::IsAes(algorithm)) return wire::ERR_BAD_ALGORITHM;
    if (format != Q_KCV_FORMAT_KCV && format != Q_KCV_FORMAT_CMAC)
        return wire::ERR_INVALID_PARAMETER;
    const size_t keyLength = wire::SymmetricKeyLength(algorithm);
    pb::ImportKeyComponents request;
    request.set_name(name);
    request.set_algorithm(static_cast<pb::Algorithm>(algorithm));
    if (wire::IsDesFamily(algorithm)) {
        QEftComponentRecord des;
        std::memcpy(&des, record, sizeof des);
        AddDesComponents(des, keyLength, &request);
        OPENSSL_cleanse(&des, sizeof des);
    } else {
        QEftAesComponentRecord aes;
        std::memcpy(&aes, record, sizeof aes);
        AddAesComponents(aes, keyLength, static_cast<pb::CheckValueFormat>(format), &request);
        OPENSSL_cleanse(&aes, sizeof aes);
    }
    status = Remote<pb::ImportKeyComponentsReply>(*session, std::move(request));
    if (status == wire::OK) ForgetListed(session.get(), name);
    return status;
}

[[nodiscard]] uint32_t GenKcvOffline(uint32_t format, uint32_t algorithm, const uint8_t *key,
                                     uint32_t keyLength, uint32_t reserved, uint8_t *kcv,
                                     uint32_t *kcvLength) {
    if (key == nullptr || kcv == nullptr || kcvLength == nullptr || reserved != 0)
        return wire::ERR_INVALID_PARAMETER;
    if (format != Q_KCV_OFFLINE_KCV && format != Q_KCV_OFFLINE_CMAC)
        return wire::ERR_INVALID_PARAMETER;
    wire::CheckValue value{};
    wire::Status status = wire::ComputeCheckValue(
        algorithm, format == Q_KCV_OFFLINE_CMAC ? pb::KCV_CMAC : pb::KCV_CLASSIC,
        std::string_view(reinterpret_cast<const char *>(key), keyLength), &value);
    // The entry was right but the computation failed: the custodian may simply try again.
    if (status == wire::ERR_INTERNAL) return wire::ERR_KCV_RETRY;
    if (status != wire::OK) return status;
    return PutCheckValue(value, kcv, kcvLength);
}

[[nodiscard]] uint32_t GetKcv(QSessionHandle handle, const char *keyName, uint32_t format,
                              uint8_t *kcv, uint32_t *kcvLength) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string name;
    if (kcv == nullptr || kcvLength == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(keyName, &name)) != wire::OK) return status;
    pb::GetKeyCheckValue request;
    request.set_name(name);
    request.set_format(static_cast<pb::CheckValueFormat>(format));
    return Remote<pb::GetKeyCheckValueReply>(
        *session, std::move(request), [&](const pb::GetKeyCheckValueReply &reply) -> uint32_t {
            wire::CheckValue value{};
            if (reply.check_value().size() != value.size()) return wire::ERR_PROTOCOL;
            std::memcpy(value.data(), reply.check_value().data(), value.size());
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
