#include "policy/password_policy.h"

#include <cctype>

#include "constants.pb.h"

namespace sim {

Result CheckPassword(const PasswordPolicy &policy, std::string_view password) {
    if (password.size() > kMaxPasswordBytes) return Result::kInvalidLength;
    unsigned specials = 0, upper = 0, lower = 0;
    for (char c : password) {
        auto u = static_cast<unsigned char>(c);
        if (std::isupper(u))
            ++upper;
        else if (std::islower(u))
            ++lower;
        else if (!std::isdigit(u))
            ++specials;
    }
    if (password.size() < policy.minLength || specials < policy.specials ||
        upper < policy.uppercase || lower < policy.lowercase)
        return Result::kPasswordPolicy;
    return Result::kOk;
}

bool PasswordExpired(const PasswordPolicy &policy, uint32_t acl, int64_t changedAt, int64_t now) {
    if (acl & wire::pb::ACL_CHANGE_PASSWORD) return true;
    if (policy.expiryDays == 0) return false;
    return now - changedAt > int64_t{policy.expiryDays} * 86400;
}

bool FailedLoginsBlock(const PasswordPolicy &policy, uint32_t failedLogins) {
    return policy.invalidLogins != 0 && failedLogins >= policy.invalidLogins;
}

}  // namespace sim
