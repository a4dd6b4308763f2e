#pragma once
// Option pickers: a short numbered list, one number read, the chosen item's code stored.
// The codes are the device library's own identifiers and go to it unchanged. Every picker
// returns false (PickTr31Options: 1) on a cancelled or out-of-range reply, printing
// "Operation cancelled!", and then leaves its output untouched.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

template <typename T>
struct OptionItem {
    const char *label;
    T value;
};

// Shows the list and reads a position; true with *index set (0-based) on a valid choice.
bool ChooseOptionIndex(const char *title, const std::vector<const char *> &labels, bool allowExit,
                       const char *exitLabel, size_t *index);

// Shows `title` (none when empty), the items numbered from 1 and "Option : "; stores the
// chosen item's value. `allowExit` adds " 0 - <exitLabel>", which returns false silently.
template <typename T>
bool ChooseOption(const char *title, std::span<const OptionItem<T>> list, T *out, bool allowExit,
                  const char *exitLabel) {
    std::vector<const char *> labels;
    labels.reserve(list.size());
    for (const OptionItem<T> &item : list)
        labels.push_back(item.label);
    size_t index = 0;
    if (!ChooseOptionIndex(title, labels, allowExit, exitLabel, &index)) return false;
    *out = list[index].value;
    return true;
}

// ChooseOption over a fixed table without an Exit entry, as every picker asks.
template <typename T, size_t N>
bool ChooseFromTable(const char *title, const OptionItem<T> (&items)[N], T *out) {
    return ChooseOption<T>(title, std::span<const OptionItem<T>>(items), out, false, "Exit");
}

// Two ASCII characters of a TR-31 key usage, the first in the low byte ("B0" is 0x3042).
constexpr uint16_t Tr31Usage(const char (&code)[3]) {
    return static_cast<uint16_t>(static_cast<uint8_t>(code[0]) |
                                 (static_cast<uint8_t>(code[1]) << 8));
}

bool PickHash(int32_t *algorithm);
bool PickHmacType(int32_t *algorithm);
bool PickEdCurve(int32_t *algorithm);
bool PickSymKeyFamily(int32_t *family);
bool Pick3desSize(int32_t *algorithm);
bool PickAesSize(int32_t *algorithm);
bool PickAsymKeyFamily(int32_t *family);
bool PickRsaKeySize(int32_t *algorithm);
bool PickSymPadding(int32_t *padding);
bool PickSymMode(int32_t *mode);
bool PickRsaPadding(int32_t *padding);
bool PickOaepPadding(int32_t *padding);
bool PickSecurityLevel(char *level);
bool PickCheckValueFormat(int32_t *format);
bool PickSVaultOperation(int32_t *operation);
bool PickMaskOption(char *mask);
bool PickChecksumOption(char *checksum);
bool PickTokenBase(const char *title, char *base);
bool PickSVaultOutput(int32_t *output);

// Symmetric algorithm: family, then size or HMAC type. DES, DESX and ARC4 ask nothing more
// and leave *algorithm as it was: callers that accept them must preset it.
bool GetSymKeyAlg(int32_t *algorithm);
// Asymmetric algorithm: family, then RSA size, elliptic curve or Edwards curve.
bool PickAsymKeyAlg(int32_t *algorithm);
// Elliptic curve by family and size (and twist, for Brainpool).
bool PickEcCurve(int32_t *curve);

// Number of usage profiles; profile n is carried as n << 24 in a key's attribute word.
inline constexpr uint32_t kUsageProfileCount = 25;
inline constexpr int kUsageProfileShift = 24;

// Offers the usage profiles allowed for `keyAlgorithm` and ORs the chosen one into
// *attributes.
bool PickUsageProfile(int32_t keyAlgorithm, uint32_t *attributes);
// The profiles offered for `keyAlgorithm`, in display order.
std::vector<uint32_t> UsageProfilesFor(int32_t keyAlgorithm);
// What a profile is for, as shown in key information: "any usage" for 0, "unknown" above 25.
const char *UsageProfileDescription(uint32_t profile);
// The short name of a profile ("DIG_SIG" for 1); "any usage" for 0, "unknown" above 25.
std::string UsageProfileName(uint32_t profile);

// True for the RSA identifiers (those of PickRsaKeySize, also with the top bit set, and
// 351 and 353).
bool IsRsaAlgorithm(int32_t algorithm);
// True for the RSA, elliptic-curve and Edwards-curve identifiers the pickers offer.
bool IsAsymmetricAlgorithm(int32_t algorithm);

// TR-31 key block attributes.
bool PickTr31SymUsage(uint16_t *usage);
bool PickTr31AsymUsage(uint16_t *usage);
bool PickTr31Export(char *exportability);
// Offers only the modes of use that Tr31AllowedModes gives for `usage`.
bool PickTr31Mode(uint16_t usage, char *mode);
// The modes of use allowed with a key usage, in display order; empty for an unknown usage.
std::span<const char> Tr31AllowedModes(uint16_t usage);
// Offers the defaults (all three outputs 0, the library's defaults) or asks usage, mode and
// export. Returns 0 on success and 1 when any picker was cancelled.
int PickTr31Options(int32_t keyAlgorithm, uint16_t *usage, char *mode, char *exportability);
