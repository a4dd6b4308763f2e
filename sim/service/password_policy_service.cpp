#include "service/password_policy_service.h"

#include <limits>

namespace sim {

namespace {

constexpr uint32_t kMinLengthFloor = 8;
constexpr uint32_t kClassCountCeiling = 16;
// The store keeps each count in a byte.
constexpr uint32_t kCountCeiling = std::numeric_limits<uint8_t>::max();

void Encode(const PasswordPolicy &policy, pb::PasswordPolicy *out) {
    out->set_invalid_logins(policy.invalidLogins);
    out->set_expiry_days(policy.expiryDays);
    out->set_min_length(policy.minLength);
    out->set_specials(policy.specials);
    out->set_uppercase(policy.uppercase);
    out->set_lowercase(policy.lowercase);
}

std::optional<PasswordPolicy> Decode(const pb::PasswordPolicy &in) {
    if (in.invalid_logins() > kCountCeiling || in.expiry_days() > kCountCeiling ||
        in.min_length() < kMinLengthFloor || in.min_length() > kMaxPasswordBytes ||
        in.specials() > kClassCountCeiling || in.uppercase() > kClassCountCeiling ||
        in.lowercase() > kClassCountCeiling)
        return std::nullopt;
    PasswordPolicy policy;
    policy.invalidLogins = static_cast<uint8_t>(in.invalid_logins());
    policy.expiryDays = static_cast<uint8_t>(in.expiry_days());
    policy.minLength = static_cast<uint8_t>(in.min_length());
    policy.specials = static_cast<uint8_t>(in.specials());
    policy.uppercase = static_cast<uint8_t>(in.uppercase());
    policy.lowercase = static_cast<uint8_t>(in.lowercase());
    return policy;
}

Result HandleGetPasswordPolicy(Call &call, const pb::GetPasswordPolicy &,
                               pb::GetPasswordPolicyReply *reply) {
    Encode(call.hsm.policy.Load(), reply->mutable_policy());
    return Result::kOk;
}

Result HandleSetPasswordPolicy(Call &call, const pb::SetPasswordPolicy &request,
                               pb::SetPasswordPolicyReply *) {
    std::optional<PasswordPolicy> policy = Decode(request.policy());
    if (!policy) return Result::kInvalidParameter;
    call.hsm.policy.Save(call.actor(), *policy);
    return Result::kOk;
}

}  // namespace

void RegisterPasswordPolicyService(DispatchTable &table) {
    table.Add<&pb::Request::get_password_policy, &pb::Response::mutable_get_password_policy>(
        HandleGetPasswordPolicy, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::set_password_policy, &pb::Response::mutable_set_password_policy>(
        HandleSetPasswordPolicy, Needs::Operator(), kNormalSessions);
}

}  // namespace sim
