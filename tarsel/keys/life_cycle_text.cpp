#include "keys/life_cycle_text.h"

#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

constexpr const char *kStateNames[] = {"UNKNOWN",     "PRE_ACTIVE", "ACTIVE",      "DEACTIVATED",
                                       "COMPROMISED", "DESTROYED",  "DESTROYED_C", ""};

constexpr const char *kUsageNames[] = {
    "SIGN",
    "VERIFY",
    "ENCRYPT",
    "DECRYPT",
    "WRAP_KEY",
    "UNWRAP_KEY",
    "EXPORT",
    "MAC_GENERATE",
    "MAC_VERIFY",
    "DERIVE_KEY",
    "CONTENT_COMMITMENT",
    "KEY_AGREEMENT",
    "CERTIFICATE_SIGN",
    "CRL_SIGN",
    "GENERATE_CRYPTOGRAM",
    "VALIDATE_CRYPTOGRAM",
    "TRANSLATE_ENCRYPT",
    "TRANSLATE_DECRYPT",
    "TRANSLATE_WRAP",
    "TRANSLATE_UNWRAP",
};

constexpr size_t kMaskTextSize = 1024;

}  // namespace

const char *LifeCycleStateName(uint32_t state) {
    const uint32_t low = state & 0xFF;
    return low < std::size(kStateNames) ? kStateNames[low] : kStateNames[0];
}

const char *LifeCycleMaskText(uint64_t mask) {
    // Kept between calls on purpose: a key without a mask shows the previous key's text.
    static char text[kMaskTextSize] = "none";
    if (mask == 0) return text;
    text[0] = '\0';
    for (size_t bit = 0; bit < std::size(kUsageNames); ++bit) {
        if ((mask & (uint64_t{1} << bit)) == 0) continue;
        if (text[0] != '\0') strncat(text, ", ", sizeof text - strlen(text) - 1);
        strncat(text, kUsageNames[bit], sizeof text - strlen(text) - 1);
    }
    return text;
}

std::string LifeCycleDate(uint64_t secondsSince1970) {
    if (secondsSince1970 == 0) return "none";
    const time_t seconds = static_cast<time_t>(secondsSince1970);
    struct tm utc = {};
    gmtime_r(&seconds, &utc);
    char text[64] = {};
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S GMT", &utc);
    return text;
}
