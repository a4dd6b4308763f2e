#pragma once
// The HSM-wide password policy and the rules derived from it.

#include <cstdint>
#include <string_view>

#include "core/result.h"

namespace sim {

struct PasswordPolicy {
    uint8_t invalidLogins = 0;  // failed logins before the user is blocked; 0 = never
    uint8_t expiryDays = 0;     // 0 = passwords never expire
    uint8_t minLength = 8;
    uint8_t specials = 0;  // minimum counts of each character class
    uint8_t uppercase = 0;
    uint8_t lowercase = 0;
};

// Longest password the protocol carries.
inline constexpr size_t kMaxPasswordBytes = 16;

// kOk when `password` satisfies the policy; kInvalidLength when it is longer than the
// protocol allows; kPasswordPolicy otherwise.
Result CheckPassword(const PasswordPolicy &policy, std::string_view password);

// True when a login with these facts must be told that the password has expired.
bool PasswordExpired(const PasswordPolicy &policy, uint32_t acl, int64_t changedAt, int64_t now);

// True when one more failed login (making `failedLogins` in total) blocks the user.
bool FailedLoginsBlock(const PasswordPolicy &policy, uint32_t failedLogins);

}  // namespace sim
