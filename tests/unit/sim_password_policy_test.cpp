// Password policy checks, the expiry rule and blocking after failed logins.

#include <gtest/gtest.h>

#include "constants.pb.h"
#include "policy/password_policy.h"

namespace {

using sim::Result;

TEST(SimPasswordPolicy, DefaultAsksOnlyForEightCharacters) {
    sim::PasswordPolicy policy;
    EXPECT_EQ(sim::CheckPassword(policy, "abcdefgh"), Result::kOk);
    EXPECT_EQ(sim::CheckPassword(policy, "abcdefg"), Result::kPasswordPolicy);
    EXPECT_EQ(sim::CheckPassword(policy, "0123456789abcdef"), Result::kOk);
    EXPECT_EQ(sim::CheckPassword(policy, "0123456789abcdefg"), Result::kInvalidLength);
    EXPECT_EQ(sim::CheckPassword(policy, ""), Result::kPasswordPolicy);
}

TEST(SimPasswordPolicy, CountsEachCharacterClass) {
    sim::PasswordPolicy policy;
    policy.minLength = 8;
    policy.specials = 2;
    policy.uppercase = 2;
    policy.lowercase = 1;
    EXPECT_EQ(sim::CheckPassword(policy, "ABc#!123"), Result::kOk);
    EXPECT_EQ(sim::CheckPassword(policy, "ABc#1234"), Result::kPasswordPolicy);  // one special
    EXPECT_EQ(sim::CheckPassword(policy, "Abc#!123"), Result::kPasswordPolicy);  // one upper
    EXPECT_EQ(sim::CheckPassword(policy, "ABC#!123"), Result::kPasswordPolicy);  // no lower
    EXPECT_EQ(sim::CheckPassword(policy, "AB c!123"), Result::kOk);  // a blank is special
}

TEST(SimPasswordPolicy, ExpiryByAgeOrByTheChangeAtLogonBit) {
    constexpr int64_t kDay = 86400;
    sim::PasswordPolicy never;
    EXPECT_FALSE(sim::PasswordExpired(never, 0, 0, 1000 * kDay));
    EXPECT_TRUE(sim::PasswordExpired(never, wire::pb::ACL_CHANGE_PASSWORD, 0, 0));

    sim::PasswordPolicy tenDays;
    tenDays.expiryDays = 10;
    EXPECT_FALSE(sim::PasswordExpired(tenDays, 0, 5 * kDay, 15 * kDay));
    EXPECT_TRUE(sim::PasswordExpired(tenDays, 0, 5 * kDay, 15 * kDay + 1));
}

TEST(SimPasswordPolicy, FailedLoginsBlockOnlyWithALimit) {
    sim::PasswordPolicy policy;
    EXPECT_FALSE(sim::FailedLoginsBlock(policy, 1000));
    policy.invalidLogins = 3;
    EXPECT_FALSE(sim::FailedLoginsBlock(policy, 2));
    EXPECT_TRUE(sim::FailedLoginsBlock(policy, 3));
}

}  // namespace
