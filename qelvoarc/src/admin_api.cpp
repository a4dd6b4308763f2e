// Administrative operations of the whole HSM: the liveness probe, the password policy, the
// security policy word, the EFT daemon's configuration and the replication domain.

#include <cstring>
#include <limits>

#include "abi_guard.h"
#include "eftd_config_api.h"
#include "qelvoarc.h"
#include "remote_call.h"
#include "replication_api.h"

namespace qelvoarc {
namespace {

// The record is one whole QPasswordPolicy; the ranges of its values are the HSM's to judge.
[[nodiscard]] uint32_t PolicyFromRecord(const void *data, uint32_t length,
                                        pb::PasswordPolicy *policy) {
    if (data == nullptr || length != sizeof(QPasswordPolicy)) return wire::ERR_INVALID_PARAMETER;
    QPasswordPolicy record;
    std::memcpy(&record, data, sizeof record);
    policy->set_invalid_logins(record.maxInvalidLogins);
    policy->set_expiry_days(record.expiryDays);
    policy->set_min_length(record.minLength);
    policy->set_specials(record.minSpecial);
    policy->set_uppercase(record.minUpper);
    policy->set_lowercase(record.minLower);
    return wire::OK;
}

[[nodiscard]] uint32_t PolicyToRecord(const pb::PasswordPolicy &policy, void *data,
                                      uint32_t length) {
    if (length < sizeof(QPasswordPolicy)) return wire::ERR_BUFFER_TOO_SMALL;
    bool fits = true;
    auto byte = [&](uint32_t value) {
        fits = fits && value <= std::numeric_limits<uint8_t>::max();
        return static_cast<uint8_t>(value);
    };
    const QPasswordPolicy record{
        byte(policy.invalid_logins()), byte(policy.expiry_days()), 0,
        byte(policy.min_length()),     byte(policy.specials()),    byte(policy.uppercase()),
        byte(policy.lowercase())};
    if (!fits) return wire::ERR_PROTOCOL;  // not a policy this record can hold
    std::memcpy(data, &record, sizeof record);
    return wire::OK;
}

[[nodiscard]] uint32_t SetPasswordPolicy(QSessionHandle handle, const void *data, uint32_t length) {
    pb::SetPasswordPolicy request;
    if (uint32_t status = PolicyFromRecord(data, length, request.mutable_policy());
        status != wire::OK)
        return Refuse(handle, status);
    return Remote<pb::SetPasswordPolicyReply>(handle, std::move(request));
}

// The security policy travels as one uint32_t in the caller's byte order.
[[nodiscard]] uint32_t GetSecurityPolicy(QSessionHandle handle, void *data, uint32_t length) {
    if (length < sizeof(uint32_t)) return Refuse(handle, wire::ERR_BUFFER_TOO_SMALL);
    return Remote<pb::GetSecurityPolicyReply>(handle, pb::GetSecurityPolicy(),
                                              [&](const pb::GetSecurityPolicyReply &reply) {
                                                  const uint32_t word = reply.policy();
                                                  std::memcpy(data, &word, sizeof word);
                                              });
}

[[nodiscard]] uint32_t SetSecurityPolicy(QSessionHandle handle, const void *data, uint32_t length) {
    if (length != sizeof(uint32_t)) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    uint32_t word;
    std::memcpy(&word, data, sizeof word);
    pb::SetSecurityPolicy request;
    request.set_policy(word);
    return Remote<pb::SetSecurityPolicyReply>(handle, std::move(request));
}

[[nodiscard]] uint32_t AdmOperation(QSessionHandle handle, uint32_t operation, void *data,
                                    uint32_t length) {
    if (data == nullptr && length != 0) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    switch (operation) {
        case Q_ADM_LIVENESS:
            return Remote<pb::LivenessReply>(handle, pb::Liveness());
        case Q_ADM_GET_PASSWORD_POLICY:
            return Remote<pb::GetPasswordPolicyReply>(
                handle, pb::GetPasswordPolicy(), [&](const pb::GetPasswordPolicyReply &reply) {
                    return PolicyToRecord(reply.policy(), data, length);
                });
        case Q_ADM_SET_PASSWORD_POLICY:
            return SetPasswordPolicy(handle, data, length);
        case Q_ADM_GET_POLICY:
            return GetSecurityPolicy(handle, data, length);
        case Q_ADM_SET_POLICY:
            return SetSecurityPolicy(handle, data, length);
        case Q_ADM_EFTD_AUTHORIZE:
        case Q_ADM_EFTD_DEAUTHORIZE:
        case Q_ADM_EFTD_RESET:
        case Q_ADM_EFTD_GET_CONFIG:
        case Q_ADM_EFTD_SET_HEADER_LEN:
        case Q_ADM_EFTD_SET_PIN_LEN:
            return EftdAdmOperation(handle, operation, data, length);
        case Q_ADM_REPLICATION_REFRESH:
            return RefreshReplication(handle);
        case Q_ADM_REPLICATION_NODE:
            return ReplicationNodeOperation(handle, data, length);
        default:
            return Refuse(handle, wire::ERR_NOT_SUPPORTED);
    }
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QAdmOperation(QSessionHandle session, uint32_t operation, void *data, uint32_t length,
                       uint32_t) {
    return qelvoarc::Guarded(
        [&] { return qelvoarc::AdmOperation(session, operation, data, length); });
}

}  // extern "C"
