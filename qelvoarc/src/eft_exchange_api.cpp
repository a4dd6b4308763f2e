// EFT keys that leave or enter the HSM: under a key-encryption key, or as clear components
// for custodians; and CVVs.

#include <openssl/crypto.h>

#include <cstring>
#include <functional>
#include <string>
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

constexpr size_t kCvvDigits = 3;

[[nodiscard]] uint32_t GenerateCvv(QSessionHandle handle, const char *keyName, const char *pan,
                                   const char *expirationDate, const char *serviceCode, char *cvv) {
    std::string name;
    if (pan == nullptr || expirationDate == nullptr || serviceCode == nullptr || cvv == nullptr)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    if (uint32_t status = ObjectName(keyName, &name); status != wire::OK)
        return Refuse(handle, status);
    pb::GenerateCvv request;
    request.set_name(name);
    request.set_pan(pan);
    request.set_expiration_date(expirationDate);
    request.set_service_code(serviceCode);
    return Remote<pb::GenerateCvvReply>(handle, std::move(request),
                                        [&](const pb::GenerateCvvReply &reply) -> uint32_t {
                                            if (reply.cvv().size() != kCvvDigits)
                                                return wire::ERR_PROTOCOL;
                                            std::memcpy(cvv, reply.cvv().data(), kCvvDigits);
                                            cvv[kCvvDigits] = '\0';
                                            return wire::OK;
                                        });
}

// `wrapped` holds the encrypted key, then the clear key's 3-byte check value.
[[nodiscard]] uint32_t KekImport(QSessionHandle handle, const char *kekName, const char *keyName,
                                 uint32_t algorithm, const uint8_t *wrapped,
                                 uint32_t wrappedLength) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    std::string kek;
    std::string name;
    if (wrapped == nullptr) return wire::ERR_INVALID_PARAMETER;
    if ((status = ObjectName(kekName, &kek)) != wire::OK) return status;
    if ((status = ObjectName(keyName, &name)) != wire::OK) return status;
    if (!wire::IsDesFamily(algorithm)) return wire::ERR_BAD_ALGORITHM;
    const size_t keyLength = wire::SymmetricKeyLength(algorithm);
    if (wrappedLength != keyLength + wire::kCheckValueBytes) return wire::ERR_INVALID_LENGTH;
    pb::ImportKeyUnderKek request;
    request.set_kek_name(kek);
    request.set_name(name);
    request.set_algorithm(static_cast<pb::Algorithm>(algorithm));
    request.set_wrapped(wrapped, keyLength);
    request.set_key_check_value(wrapped + keyLength, wire::kCheckValueBytes);
    status = Remote<pb::ImportKeyUnderKekReply>(*session, std::move(request));
    if (status == wire::OK) ForgetListed(session.get(), name);
    return status;
}

// `out` receives the encrypted key, then the clear key's 3-byte check value.
[[nodiscard]] uint32_t KekExport(QSessionHandle handle, const char *kekName, const char *keyName,
                                 uint8_t *out, uint32_t *outLength) {
    std::string kek;
    std::string name;
    if (out == nullptr || outLength == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    if (uint32_t status = ObjectName(kekName, &kek); status != wire::OK)
        return Refuse(handle, status);
    if (uint32_t status = ObjectName(keyName, &name); status != wire::OK)
        return Refuse(handle, status);
    pb::ExportKeyUnderKek request;
    request.set_kek_name(kek);
    request.set_name(name);
    return Remote<pb::ExportKeyUnderKekReply>(
        handle, std::move(request), [&](const pb::ExportKeyUnderKekReply &reply) -> uint32_t {
            if (reply.key_check_value().size() != wire::kCheckValueBytes) return wire::ERR_PROTOCOL;
            const size_t needed = reply.wrapped().size() + wire::kCheckValueBytes;
            if (*outLength < needed) {
                *outLength = static_cast<uint32_t>(needed);
                return wire::ERR_BUFFER_TOO_SMALL;
            }
            std::memcpy(out, reply.wrapped().data(), reply.wrapped().size());
            std::memcpy(out + reply.wrapped().size(), reply.key_check_value().data(),
                        wire::kCheckValueBytes);
            *outLength = static_cast<uint32_t>(needed);
            return wire::OK;
        });
}

// The reply's components, each no longer than `slot` bytes, with a check value per component.
[[nodiscard]] bool WellFormedComponents(const pb::ExportKeyComponentsReply &reply, size_t slot) {
    if (reply.components_size() != 3 || reply.component_check_values_size() != 3 ||
        reply.key_check_value().size() != wire::kCheckValueBytes)
        return false;
    for (int i = 0; i < 3; ++i) {
        if (reply.components(i).size() > slot ||
            reply.component_check_values(i).size() != wire::kCheckValueBytes)
            return false;
    }
    return true;
}

[[nodiscard]] uint32_t ExportComponents(
    QSessionHandle handle, const char *keyName, uint32_t parts, uint32_t format, bool aes,
    const std::function<uint32_t(const pb::ExportKeyComponentsReply &)> &copyOut) {
    std::string name;
    if (uint32_t status = ObjectName(keyName, &name); status != wire::OK)
        return Refuse(handle, status);
    if (parts != 2 && parts != 3) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    if (format != Q_KCV_FORMAT_KCV && format != Q_KCV_FORMAT_CMAC)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::ExportKeyComponents request;
    request.set_name(name);
    request.set_parts(parts);
    request.set_format(format == Q_KCV_FORMAT_CMAC ? pb::KCV_CMAC : pb::KCV_CLASSIC);
    request.set_aes(aes);
    return Remote<pb::ExportKeyComponentsReply>(handle, std::move(request), copyOut);
}

[[nodiscard]] uint32_t ExportDesComponents(QSessionHandle handle, const char *keyName,
                                           uint32_t parts, void *record, uint32_t *length) {
    if (record == nullptr || length == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    if (*length < sizeof(QEftComponentRecord)) {
        *length = sizeof(QEftComponentRecord);
        return Refuse(handle, wire::ERR_BUFFER_TOO_SMALL);
    }
    auto copyOut = [&](const pb::ExportKeyComponentsReply &reply) -> uint32_t {
        QEftComponentRecord des{};
        if (!WellFormedComponents(reply, sizeof des.component1)) return wire::ERR_PROTOCOL;
        uint8_t *const slots[][2] = {
            {des.component1, des.kcv1}, {des.component2, des.kcv2}, {des.component3, des.kcv3}};
        for (int i = 0; i < 3; ++i) {
            std::memcpy(slots[i][0], reply.components(i).data(), reply.components(i).size());
            std::memcpy(slots[i][1], reply.component_check_values(i).data(),
                        wire::kCheckValueBytes);
        }
        std::memcpy(des.keyKcv, reply.key_check_value().data(), wire::kCheckValueBytes);
        std::memcpy(record, &des, sizeof des);
        OPENSSL_cleanse(&des, sizeof des);
        *length = sizeof des;
        return wire::OK;
    };
    return ExportComponents(handle, keyName, parts, Q_KCV_FORMAT_KCV, false, copyOut);
}

[[nodiscard]] uint32_t ExportAesComponents(QSessionHandle handle, const char *keyName,
                                           uint32_t parts, uint32_t format,
                                           QEftAesComponentRecord *record) {
    if (record == nullptr) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    auto copyOut = [&](const pb::ExportKeyComponentsReply &reply) -> uint32_t {
        QEftAesComponentRecord aes{};
        if (!WellFormedComponents(reply, sizeof aes.component1)) return wire::ERR_PROTOCOL;
        aes.attributes = reply.attributes();
        uint8_t *const slots[] = {aes.component1, aes.component2, aes.component3};
        for (int i = 0; i < 3; ++i)
            std::memcpy(slots[i], reply.components(i).data(), reply.components(i).size());
        std::memcpy(aes.keyKcv, reply.key_check_value().data(), wire::kCheckValueBytes);
        std::memcpy(record, &aes, sizeof aes);
        OPENSSL_cleanse(&aes, sizeof aes);
        return wire::OK;
    };
    return ExportComponents(handle, keyName, parts, format, true, copyOut);
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QGenerateCVV(QSessionHandle session, const char *keyName, const char *pan,
                      const char *expirationDate, const char *serviceCode, char *cvv, uint32_t) {
    return Guarded([&] {
        return qelvoarc::GenerateCvv(session, keyName, pan, expirationDate, serviceCode, cvv);
    });
}

uint32_t QEFTKeKImport(QSessionHandle session, const char *kekName, const char *keyName,
                       uint32_t algorithm, const uint8_t *wrapped, uint32_t wrappedLength,
                       uint32_t) {
    return Guarded([&] {
        return qelvoarc::KekImport(session, kekName, keyName, algorithm, wrapped, wrappedLength);
    });
}

uint32_t QEFTExportZPK(QSessionHandle session, const char *kekName, const char *keyName,
                       uint8_t *out, uint32_t *outLength, uint32_t) {
    return Guarded([&] { return qelvoarc::KekExport(session, kekName, keyName, out, outLength); });
}

uint32_t QEFTExportKey(QSessionHandle session, const char *keyName, uint32_t parts, void *record,
                       uint32_t *length, uint32_t) {
    return Guarded(
        [&] { return qelvoarc::ExportDesComponents(session, keyName, parts, record, length); });
}

uint32_t QEFTExportAESKeyParts(QSessionHandle session, const char *keyName, uint32_t parts,
                               uint32_t format, QEftAesComponentRecord *record, uint32_t) {
    return Guarded(
        [&] { return qelvoarc::ExportAesComponents(session, keyName, parts, format, record); });
}

}  // extern "C"
