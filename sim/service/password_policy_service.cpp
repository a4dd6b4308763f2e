#include "service/password_policy_service.h"

#include "core/user_rights.h"
#include "service/caller.h"

namespace sim {

namespace {

constexpr uint8_t kMinLengthFloor = 8;
constexpr uint8_t kClassCountCeiling = 16;

std::string Encode(const PasswordPolicy &policy) {
    const uint8_t bytes[kPasswordPolicyBytes] = {
        policy.invalidLogins, policy.expiryDays, 0, policy.minLength, policy.specials,
        policy.uppercase,     policy.lowercase};
    return std::string(reinterpret_cast<const char *>(bytes), sizeof bytes);
}

std::optional<PasswordPolicy> Decode(const std::string &data) {
    if (data.size() != kPasswordPolicyBytes) return std::nullopt;
    auto byte = [&](size_t i) { return static_cast<uint8_t>(data[i]); };
    PasswordPolicy policy;
    policy.invalidLogins = byte(0);
    policy.expiryDays = byte(1);
    policy.minLength = byte(3);
    policy.specials = byte(4);
    policy.uppercase = byte(5);
    policy.lowercase = byte(6);
    if (policy.minLength < kMinLengthFloor || policy.minLength > kMaxPasswordBytes ||
        policy.specials > kClassCountCeiling || policy.uppercase > kClassCountCeiling ||
        policy.lowercase > kClassCountCeiling)
        return std::nullopt;
    return policy;
}

}  // namespace

Result HandlePasswordPolicyOperation(HsmContext &hsm, const ConnectionState &conn,
                                     const wire::pb::AdmOperation &request,
                                     wire::pb::Response *response) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    if (request.operation() == kAdmGetPasswordPolicy) {
        response->set_data(Encode(hsm.policy.Load()));
        return Result::kOk;
    }
    if (!rights::IsOperator(caller->acl)) return Result::kAccessDenied;
    std::optional<PasswordPolicy> policy = Decode(request.data());
    if (!policy) return Result::kInvalidParameter;
    hsm.policy.Save(*policy);
    return Result::kOk;
}

}  // namespace sim
