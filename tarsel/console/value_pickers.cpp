// Pickers of paddings, modes, check values and secret vault options.
#include "console/pickers.h"
#include "qelvoarc.h"

namespace {

// "PKCS #5" and "OEAP SHA-256" are the names users know from the device; kept as they are.
constexpr OptionItem<int32_t> kSymPaddings[] = {{"Zero padding", Q_PAD_ZERO},
                                                {"PKCS #5", Q_PAD_PKCS5}};
constexpr OptionItem<int32_t> kSymModes[] = {
    {"ECB", Q_MODE_ECB}, {"CBC", Q_MODE_CBC}, {"KW", Q_MODE_KW}, {"KWP", Q_MODE_KWP}};
constexpr OptionItem<int32_t> kRsaPaddings[] = {{"PKCS#1 v1.5", Q_PAD_RSA_PKCS1},
                                                {"OAEP SHA-1", Q_PAD_RSA_OAEP_SHA1},
                                                {"OEAP SHA-256", Q_PAD_RSA_OAEP_SHA256}};
constexpr OptionItem<int32_t> kOaepPaddings[] = {{"OAEP SHA-1", Q_PAD_RSA_OAEP_SHA1},
                                                 {"OEAP SHA-256", Q_PAD_RSA_OAEP_SHA256}};
constexpr OptionItem<char> kSecurityLevels[] = {
    {"64 bits", 1}, {"96 bits", 2}, {"112 bits", 3}, {"128 bits", 4}, {"160 bits", 5}};
constexpr OptionItem<int32_t> kCheckValueFormats[] = {{"KCV", Q_KCV_FORMAT_KCV},
                                                      {"CMAC", Q_KCV_FORMAT_CMAC}};
constexpr OptionItem<int32_t> kSVaultOperations[] = {{"Generate token", 1}, {"Get data", 2}};
constexpr OptionItem<char> kMaskOptions[] = {{"No mask", 0}, {"Mask secret", 2}, {"Mask token", 1}};
constexpr OptionItem<char> kChecksumOptions[] = {
    {"None", 0}, {"CPF", 1}, {"CNPJ", 2}, {"PAN", 3}, {"Voter Registration", 4}};
constexpr OptionItem<char> kTokenBases[] = {{"Base 10", 10}, {"Base 62", 62}};
constexpr OptionItem<int32_t> kSVaultOutputs[] = {{"Secret", 1}, {"Token", 2}};

}  // namespace

bool PickSymPadding(int32_t *padding) {
    return ChooseFromTable("Padding", kSymPaddings, padding);
}
bool PickSymMode(int32_t *mode) {
    return ChooseFromTable("Mode", kSymModes, mode);
}
bool PickRsaPadding(int32_t *padding) {
    return ChooseFromTable("Padding", kRsaPaddings, padding);
}
bool PickOaepPadding(int32_t *padding) {
    return ChooseFromTable("Padding", kOaepPaddings, padding);
}
bool PickSecurityLevel(char *level) {
    return ChooseFromTable("Security level (bits)", kSecurityLevels, level);
}
bool PickCheckValueFormat(int32_t *format) {
    return ChooseFromTable("Check value format", kCheckValueFormats, format);
}
bool PickSVaultOperation(int32_t *operation) {
    return ChooseFromTable("SVault option", kSVaultOperations, operation);
}
bool PickMaskOption(char *mask) {
    return ChooseFromTable("Mask option", kMaskOptions, mask);
}
bool PickChecksumOption(char *checksum) {
    return ChooseFromTable("Checksum option", kChecksumOptions, checksum);
}
bool PickTokenBase(const char *title, char *base) {
    return ChooseFromTable(title, kTokenBases, base);
}
bool PickSVaultOutput(int32_t *output) {
    return ChooseFromTable("Output", kSVaultOutputs, output);
}
