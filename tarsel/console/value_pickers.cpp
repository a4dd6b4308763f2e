// Pickers of paddings, modes, check values and secret vault options.
#include "console/pickers.h"

namespace {

// "PKCS #5" and "OEAP SHA-256" are the names users know from the device; kept as they are.
constexpr OptionItem<int32_t> kSymPaddings[] = {{"Zero padding", 2}, {"PKCS #5", 1}};
constexpr OptionItem<int32_t> kSymModes[] = {{"ECB", 1}, {"CBC", 2}, {"KW", 64}, {"KWP", 4}};
constexpr OptionItem<int32_t> kRsaPaddings[] = {
    {"PKCS#1 v1.5", 4}, {"OAEP SHA-1", 3}, {"OEAP SHA-256", 8}};
constexpr OptionItem<int32_t> kOaepPaddings[] = {{"OAEP SHA-1", 3}, {"OEAP SHA-256", 8}};
constexpr OptionItem<char> kSecurityLevels[] = {
    {"64 bits", 1}, {"96 bits", 2}, {"112 bits", 3}, {"128 bits", 4}, {"160 bits", 5}};
constexpr OptionItem<int32_t> kCheckValueFormats[] = {{"KCV", 0}, {"CMAC", 1}};
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
