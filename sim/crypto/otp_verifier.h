#pragma once
// One-time password checks (HOTP and TOTP codes from liboath) with replay protection.

#include <cstdint>
#include <optional>
#include <string_view>

namespace sim {

enum class OathKind : int64_t { kEvent = 0, kTime = 1 };

// The moving part of a user's OATH token. For event tokens `counter` is the next counter
// expected; for time tokens it is the first time step that may still be used.
struct OathState {
    OathKind kind = OathKind::kEvent;
    uint64_t counter = 0;
    uint32_t step = 30;
    int64_t startTime = 0;
};

// Event tokens are searched this many counters ahead of the expected one.
inline constexpr size_t kHotpLookAhead = 10;

// Checks `otp` against `seed` at time `now` (seconds, UTC). Returns the counter to store
// when it is valid, nullopt when it is wrong or was already used. Thread-safe.
std::optional<uint64_t> VerifyOtp(const OathState &state, std::string_view seed,
                                  std::string_view otp, int64_t now);

// A token that drifted is found again further away than a login looks.
inline constexpr size_t kHotpResyncWindow = 1000;
inline constexpr size_t kTotpResyncSteps = 100;

// Finds `first` within the resynchronisation window and requires `next` to be the OTP right
// after it. Returns the counter to store (the one after `next`), nullopt when the pair does
// not fit or reaches back to OTPs already used. Thread-safe.
std::optional<uint64_t> ResyncOtp(const OathState &state, std::string_view seed,
                                  std::string_view first, std::string_view next, int64_t now);

}  // namespace sim
