#include "crypto/otp_verifier.h"

#include <liboath/oath.h>

#include <string>

#include "core/secret.h"

namespace sim {

namespace {

// liboath must be initialised once per process before use.
void EnsureOathInitialised() {
    static const int initialised = oath_init();
    (void)initialised;
}

}  // namespace

std::optional<uint64_t> VerifyOtp(const OathState &state, std::string_view seed,
                                  std::string_view otp, int64_t now) {
    EnsureOathInitialised();
    const SecretBytes code{std::string(otp)};  // liboath wants a terminated string
    if (state.kind == OathKind::kEvent) {
        int position = oath_hotp_validate(seed.data(), seed.size(), state.counter, kHotpLookAhead,
                                          code.view().c_str());
        if (position < 0) return std::nullopt;
        return state.counter + static_cast<uint64_t>(position) + 1;
    }
    if (state.step == 0 || now < state.startTime) return std::nullopt;
    int position = 0;
    uint64_t usedStep = 0;
    int rc = oath_totp_validate3(seed.data(), seed.size(), static_cast<time_t>(now), state.step,
                                 static_cast<time_t>(state.startTime), 1, &position, &usedStep,
                                 code.view().c_str());
    if (rc < 0 || usedStep < state.counter) return std::nullopt;
    return usedStep + 1;
}

std::optional<uint64_t> ResyncOtp(const OathState &state, std::string_view seed,
                                  std::string_view first, std::string_view next, int64_t now) {
    EnsureOathInitialised();
    const SecretBytes firstCode{std::string(first)};
    const SecretBytes nextCode{std::string(next)};
    if (state.kind == OathKind::kEvent) {
        int position = oath_hotp_validate(seed.data(), seed.size(), state.counter,
                                          kHotpResyncWindow, firstCode.view().c_str());
        if (position < 0) return std::nullopt;
        uint64_t nextCounter = state.counter + static_cast<uint64_t>(position) + 1;
        if (oath_hotp_validate(seed.data(), seed.size(), nextCounter, 0, nextCode.view().c_str()) !=
            0)
            return std::nullopt;
        return nextCounter + 1;
    }
    if (state.step == 0 || now < state.startTime) return std::nullopt;
    int position = 0;
    uint64_t firstStep = 0;
    if (oath_totp_validate3(seed.data(), seed.size(), static_cast<time_t>(now), state.step,
                            static_cast<time_t>(state.startTime), kTotpResyncSteps, &position,
                            &firstStep, firstCode.view().c_str()) < 0 ||
        firstStep < state.counter)
        return std::nullopt;
    const auto nextTime = static_cast<time_t>(state.startTime + (firstStep + 1) * state.step);
    if (oath_totp_validate(seed.data(), seed.size(), nextTime, state.step,
                           static_cast<time_t>(state.startTime), 0, nextCode.view().c_str()) != 0)
        return std::nullopt;
    return firstStep + 2;
}

}  // namespace sim
