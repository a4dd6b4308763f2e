#include "crypto/otp_verifier.h"

#include <liboath/oath.h>

#include <openssl/crypto.h>

namespace sim {

namespace {

// liboath must be initialised once per process before use.
void EnsureOathInitialised() {
    static const int initialised = oath_init();
    (void)initialised;
}

// The counter in [first, last] whose code is `otp`. liboath's own validation compares with
// strcmp, which tells how many leading digits were right; here every code of the window is
// made and compared in constant time, so the time taken says nothing about the match.
std::optional<uint64_t> FindCounter(std::string_view seed, uint64_t first, uint64_t last,
                                    std::string_view otp) {
    if (otp.size() < 6 || otp.size() > 8) return std::nullopt;
    char code[9] = {};
    std::optional<uint64_t> found;
    for (uint64_t counter = first; counter <= last; ++counter) {
        if (oath_hotp_generate(seed.data(), seed.size(), counter, static_cast<unsigned>(otp.size()),
                               false, OATH_HOTP_DYNAMIC_TRUNCATION, code) != OATH_OK)
            break;
        const bool same = CRYPTO_memcmp(code, otp.data(), otp.size()) == 0;
        if (same && !found) found = counter;
    }
    OPENSSL_cleanse(code, sizeof code);
    return found;
}

// The time step of `now`; nullopt before the token's start.
std::optional<uint64_t> TimeStep(const OathState &state, int64_t now) {
    if (state.step == 0 || now < state.startTime) return std::nullopt;
    return static_cast<uint64_t>(now - state.startTime) / state.step;
}

std::optional<uint64_t> FindStep(std::string_view seed, uint64_t current, uint64_t around,
                                 std::string_view otp) {
    return FindCounter(seed, current > around ? current - around : 0, current + around, otp);
}

}  // namespace

std::optional<uint64_t> VerifyOtp(const OathState &state, std::string_view seed,
                                  std::string_view otp, int64_t now) {
    EnsureOathInitialised();
    if (state.kind == OathKind::kEvent) {
        std::optional<uint64_t> used =
            FindCounter(seed, state.counter, state.counter + kHotpLookAhead, otp);
        return used ? std::optional<uint64_t>(*used + 1) : std::nullopt;
    }
    std::optional<uint64_t> current = TimeStep(state, now);
    if (!current) return std::nullopt;
    std::optional<uint64_t> used = FindStep(seed, *current, 1, otp);
    if (!used || *used < state.counter) return std::nullopt;
    return *used + 1;
}

std::optional<uint64_t> ResyncOtp(const OathState &state, std::string_view seed,
                                  std::string_view first, std::string_view next, int64_t now) {
    EnsureOathInitialised();
    std::optional<uint64_t> found;
    if (state.kind == OathKind::kEvent) {
        found = FindCounter(seed, state.counter, state.counter + kHotpResyncWindow, first);
    } else if (std::optional<uint64_t> current = TimeStep(state, now)) {
        found = FindStep(seed, *current, kTotpResyncSteps, first);
        if (found && *found < state.counter) found.reset();
    }
    if (!found || !FindCounter(seed, *found + 1, *found + 1, next)) return std::nullopt;
    return *found + 2;
}

}  // namespace sim
