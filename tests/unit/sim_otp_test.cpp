// One-time password windows and replay protection.

#include <gtest/gtest.h>
#include <liboath/oath.h>

#include <string>

#include "crypto/otp_verifier.h"

namespace {

const std::string kSeed = "12345678901234567890";

std::string Hotp(uint64_t counter) {
    char otp[10] = {};
    oath_hotp_generate(kSeed.data(), kSeed.size(), counter, 6, false, OATH_HOTP_DYNAMIC_TRUNCATION,
                       otp);
    return otp;
}

std::string Totp(int64_t now, unsigned step, int64_t start) {
    char otp[10] = {};
    oath_totp_generate(kSeed.data(), kSeed.size(), now, step, start, 6, otp);
    return otp;
}

TEST(SimOtp, EventTokenLooksAheadTenCountersAndAdvancesPastTheOneUsed) {
    sim::OathState state{sim::OathKind::kEvent, 5, 30, 0};
    EXPECT_EQ(sim::VerifyOtp(state, kSeed, Hotp(5), 0), 6u);
    EXPECT_EQ(sim::VerifyOtp(state, kSeed, Hotp(15), 0), 16u);
    EXPECT_FALSE(sim::VerifyOtp(state, kSeed, Hotp(16), 0));
    EXPECT_FALSE(sim::VerifyOtp(state, kSeed, Hotp(4), 0));  // already used
    EXPECT_FALSE(sim::VerifyOtp(state, kSeed, "", 0));
    EXPECT_FALSE(sim::VerifyOtp(state, kSeed, "abcdef", 0));
}

TEST(SimOtp, TimeTokenAcceptsOneStepEitherSideWithItsStartAndStep) {
    constexpr int64_t kStart = 1000;
    constexpr unsigned kStep = 60;
    sim::OathState state{sim::OathKind::kTime, 0, kStep, kStart};
    const int64_t now = kStart + 100 * kStep + 7;  // inside step 100

    EXPECT_EQ(sim::VerifyOtp(state, kSeed, Totp(now, kStep, kStart), now), 101u);
    EXPECT_EQ(sim::VerifyOtp(state, kSeed, Totp(now - kStep, kStep, kStart), now), 100u);
    EXPECT_EQ(sim::VerifyOtp(state, kSeed, Totp(now + kStep, kStep, kStart), now), 102u);
    EXPECT_FALSE(sim::VerifyOtp(state, kSeed, Totp(now - 2 * kStep, kStep, kStart), now));
    EXPECT_FALSE(sim::VerifyOtp(state, kSeed, Totp(now + 2 * kStep, kStep, kStart), now));
    // The same code read with the default 30-second step from time 0 is another code.
    EXPECT_FALSE(sim::VerifyOtp(state, kSeed, Totp(now, 30, 0), now));
}

TEST(SimOtp, TimeTokenRefusesACodeOfAStepAlreadyUsed) {
    sim::OathState state{sim::OathKind::kTime, 0, 30, 0};
    const int64_t now = 30 * 5000;
    std::optional<uint64_t> next = sim::VerifyOtp(state, kSeed, Totp(now, 30, 0), now);
    ASSERT_TRUE(next);
    state.counter = *next;
    EXPECT_FALSE(sim::VerifyOtp(state, kSeed, Totp(now, 30, 0), now));
    EXPECT_FALSE(sim::VerifyOtp(state, kSeed, Totp(now - 30, 30, 0), now));
    EXPECT_TRUE(sim::VerifyOtp(state, kSeed, Totp(now + 30, 30, 0), now + 30));
}

}  // namespace
