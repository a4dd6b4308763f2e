// TR-31 key block attributes: key usage, mode of use and exportability.
#include <string_view>

#include "console/pickers.h"
#include "console/prompts.h"

namespace {

// Each label starts with its code in brackets; the code is what the picker yields.
constexpr const char *kSymUsages[] = {
    "[B0] BDK Base Derivation Key",
    "[B1] Initial DUKPT Key",
    "[B2] Base Key Variant Key",
    "[C0] CVK Card Verification Key",
    "[D0] Symmetric Key for Data Encryption",
    "[D2] Data Encryption Key for Decimalization Table",
    "[E0] EMV/chip Issuer Master Key: Application cryptograms",
    "[E1] EMV/chip Issuer Master Key: Secure Messaging for Confidentiality",
    "[E2] EMV/chip Issuer Master Key: Secure Messaging for Integrity",
    "[E3] EMV/chip Issuer Master Key: Data Authentication Code",
    "[E4] EMV/chip Issuer Master Key: Dynamic Numbers",
    "[E5] EMV/chip Issuer Master Key: Card Personalization",
    "[E6] EMV/chip Issuer Master Key: Other",
    "[I0] Initialization Vector (IV)",
    "[K0] Key Encryption or wrapping",
    "[K1] TR-31 Key Block Protection Key",
    "[K2] TR-34 Asymmetric key",
    "[M0] ISO 16609 MAC algorithm 1 (using TDEA)",
    "[M1] ISO 9797-1 MAC Algorithm 1",
    "[M2] ISO 9797-1 MAC Algorithm 2",
    "[M3] ISO 9797-1 MAC Algorithm 3",
    "[M4] ISO 9797-1 MAC Algorithm 4",
    "[M5] ISO 9797-1:1999 MAC Algorithm 5",
    "[M6] ISO 9797-1:2011 MAC Algorithm 5/CMAC",
    "[M7] HMAC",
    "[M8] ISO 9797-1:2011 MAC Algorithm 6",
    "[P0] PIN Encryption",
    "[V0] PIN verification, KPV, other algorithm",
    "[V1] PIN verification, IBM 3624",
    "[V2] PIN Verification, VISA PVV",
    "[V3] PIN Verification, X9.132 algorithm 1",
    "[V4] PIN Verification, X9.132 algorithm 2",
};

constexpr const char *kAsymUsages[] = {
    "[D1] Asymmetric Key for Data Encryption",
    "[K3] Asymmetric key for key agreement/key wrapping",
    "[S0] Asymmetric key pair for digital signature",
    "[S1] Asymmetric key pair, CA key",
    "[S2] Asymmetric key pair, nonX9.24 key",
};

constexpr OptionItem<char> kExports[] = {
    {"[E] KEK X9.24 Parts 1 or 2", 'E'},
    {"[N] Non-exportable", 'N'},
    {"[S] Sensitive", 'S'},
};

// "[T]" yielding 'U' (and the trailing blank) is how the device names that mode; kept.
constexpr OptionItem<char> kModeLabels[] = {
    {"[B] Both Encrypt & Decrypt / Wrap & Unwrap", 'B'},
    {"[C] Both Generate & Verify", 'C'},
    {"[D] Decrypt / Unwrap Only", 'D'},
    {"[E] Encrypt / Wrap Only", 'E'},
    {"[G] Generate Only", 'G'},
    {"[N] No special restrictions(other than restrictions implied by the Key Usage)", 'N'},
    {"[S] Signature Only", 'S'},
    {"[T] Both Sign & Decrypt ", 'U'},
    {"[V] Verify Only", 'V'},
    {"[X] Key used to derive other key(s)", 'X'},
    {"[Y] Key used to create key variants", 'Y'},
};

// Usages from letter+first to letter+last allow these modes, in this order.
struct ModeRule {
    char letter;
    char first;
    char last;
    std::string_view modes;
};

constexpr ModeRule kModeTable[] = {
    {'B', '0', '1', "X"},      {'B', '2', '2', "Y"},   {'C', '0', '0', "CGV"},
    {'M', '0', '8', "CGV"},    {'V', '0', '4', "CGV"}, {'D', '0', '2', "BDE"},
    {'K', '0', '2', "BDE"},    {'P', '0', '0', "BDE"}, {'K', '3', '3', "BDEX"},
    {'E', '0', '6', "X"},      {'I', '0', '0', "N"},   {'S', '0', '1', "SV"},
    {'S', '2', '2', "SVUBDE"},
};

constexpr const char *kAsymDefaults =
    "Usage:  [D1] Asymmetric Key for Data Encryption\nMode:   [N]  no special "
    "restrictions\nExport: [E]  X9.24\nUse default options";
constexpr const char *kSymDefaults =
    "Usage:  [D0] Symmetric Key for Data Encryption\nMode:   [N]  no special "
    "restrictions\nExport: [E]  X9.24\nUse default options";

template <size_t N>
bool PickUsage(const char *const (&labels)[N], uint16_t *usage) {
    std::vector<const char *> shown(labels, labels + N);
    size_t index = 0;
    if (!ChooseOptionIndex("Usage", shown, false, "Exit", &index)) return false;
    *usage = static_cast<uint16_t>(static_cast<uint8_t>(labels[index][1]) |
                                   static_cast<uint8_t>(labels[index][2]) << 8);
    return true;
}

const char *ModeLabel(char mode) {
    for (const OptionItem<char> &item : kModeLabels) {
        if (item.value == mode) return item.label;
    }
    return "";
}

}  // namespace

bool PickTr31SymUsage(uint16_t *usage) {
    return PickUsage(kSymUsages, usage);
}
bool PickTr31AsymUsage(uint16_t *usage) {
    return PickUsage(kAsymUsages, usage);
}

bool PickTr31Export(char *exportability) {
    return ChooseOption<char>("Export", kExports, exportability, false, "Exit");
}

std::span<const char> Tr31AllowedModes(uint16_t usage) {
    char letter = static_cast<char>(usage & 0xFF);
    char digit = static_cast<char>(usage >> 8);
    for (const ModeRule &rule : kModeTable) {
        if (rule.letter == letter && digit >= rule.first && digit <= rule.last) {
            return {rule.modes.data(), rule.modes.size()};
        }
    }
    return {};
}

bool PickTr31Mode(uint16_t usage, char *mode) {
    std::vector<OptionItem<char>> items;
    for (char allowed : Tr31AllowedModes(usage))
        items.push_back({ModeLabel(allowed), allowed});
    return ChooseOption<char>("Mode", items, mode, false, "Exit");
}

int PickTr31Options(int32_t keyAlgorithm, uint16_t *usage, char *mode, char *exportability) {
    bool asymmetric = IsAsymmetricAlgorithm(keyAlgorithm);
    if (AskYesNoWithDefault(asymmetric ? kAsymDefaults : kSymDefaults, 1) == 1) {
        // Zero asks the device for its defaults, the ones the question shows.
        *usage = 0;
        *mode = 0;
        *exportability = 0;
        return 0;
    }
    bool picked = asymmetric ? PickTr31AsymUsage(usage) : PickTr31SymUsage(usage);
    picked = picked && PickTr31Mode(*usage, mode) && PickTr31Export(exportability);
    return picked ? 0 : 1;
}
