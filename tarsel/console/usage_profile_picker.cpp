// Usage profiles: what a key may be used for, carried in the top byte of its attributes.
#include <cstring>
#include <string>

#include "console/pickers.h"
#include "qelvoarc.h"

namespace {

constexpr const char *kProfileLabels[kUsageProfileCount] = {
    "DIG_SIG        - signature generation/verification",
    "DATA_CRYPTO    - data encryption/decryption",
    "KeK            - key wrapping/unwrapping",
    "MAC            - MAC generation/verification",
    "KDF            - key derivation function",
    "CRYPTOGRAM     - cryptogram generation/verification",
    "KEY_TRANSLATE  - key translation",
    "EFT_CVK        - CVV generation/verification",
    "EFT_VISA_PVK   - PVV generation",
    "EFT_IBM_3624   - PIN generation/validation",
    "EFT_PEK        - PIN encryption/decryption",
    "EFT_BDK        - DUKPT",
    "EFT_IPEK       - DUKPT IPEK",
    "EMV_IMK        - ICC MK, IDN derivation",
    "EMV_IMKDAC     - ICC DAC derivation",
    "EMV_IMKENC     - ICC data encryption - PinBlock",
    "EMV_IMKMAC     - ICC data cryptogram - EmvMac",
    "EMV_KeK        - ICC MK wrapping",
    "EMV_IMKKDF     - EMV key derivation",
    "EMV_IMKACRYPTO - ARPC calculation",
    "EFT_KeK        - EFT key wrapping/unwrapping",
    "EMV_DIG_SIG    - EMV signature generation/verification",
    "EFT_TR31_KBPK  - TR31 key-block protection key",
    "EFT_TR34_PK    - TR34 sign/envelope",
    "SPB_PK         - Brazilian National banking system sig gen/verify and key-wrapping key",
};

constexpr uint32_t kTripleDesProfiles[] = {2,  3,  4,  7,  8,  9,  10, 11, 12,
                                           13, 14, 15, 16, 17, 19, 20, 21, 23};
constexpr uint32_t kAesProfiles[] = {2, 3, 7, 18, 23};
constexpr uint32_t kRsaProfiles[] = {1, 2, 3, 4, 5, 6, 7, 8, 22, 24, 25};

template <size_t N>
std::vector<uint32_t> ListOf(const uint32_t (&profiles)[N]) {
    return std::vector<uint32_t>(profiles, profiles + N);
}

bool IsTripleDes(int32_t algorithm) {
    return algorithm == Q_ALG_3DES_112 || algorithm == Q_ALG_3DES_168;
}
bool IsAes(int32_t algorithm) {
    return algorithm == Q_ALG_AES_128 || algorithm == Q_ALG_AES_192 || algorithm == Q_ALG_AES_256;
}

}  // namespace

std::vector<uint32_t> UsageProfilesFor(int32_t keyAlgorithm) {
    if (IsTripleDes(keyAlgorithm)) return ListOf(kTripleDesProfiles);
    if (IsAes(keyAlgorithm)) return ListOf(kAesProfiles);
    if (IsRsaAlgorithm(keyAlgorithm)) return ListOf(kRsaProfiles);
    // Other algorithms are not narrowed: the device refuses a profile that does not fit.
    std::vector<uint32_t> all;
    for (uint32_t n = 1; n <= kUsageProfileCount; ++n)
        all.push_back(n);
    return all;
}

bool PickUsageProfile(int32_t keyAlgorithm, uint32_t *attributes) {
    std::vector<OptionItem<uint32_t>> items;
    for (uint32_t n : UsageProfilesFor(keyAlgorithm)) {
        items.push_back({kProfileLabels[n - 1], n << kUsageProfileShift});
    }
    uint32_t profile = 0;
    if (!ChooseOption<uint32_t>("", items, &profile, false, "Exit")) return false;
    *attributes |= profile;
    return true;
}

const char *UsageProfileDescription(uint32_t profile) {
    if (profile == 0) return "any usage";
    if (profile > kUsageProfileCount) return "unknown";
    return strstr(kProfileLabels[profile - 1], " - ") + 3;
}

std::string UsageProfileName(uint32_t profile) {
    if (profile == 0 || profile > kUsageProfileCount) return UsageProfileDescription(profile);
    // The label starts with the name, padded with blanks to one width.
    const char *label = kProfileLabels[profile - 1];
    return std::string(label, strcspn(label, " "));
}
