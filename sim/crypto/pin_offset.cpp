#include "crypto/pin_offset.h"

#include <algorithm>

#include "check_value.h"

namespace sim {

namespace {

constexpr size_t kBlockBytes = 8;
constexpr size_t kPanDigitsInBlock = 12;
constexpr size_t kMinPinDigits = 4;
constexpr size_t kMaxPinDigits = 12;

bool AllDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

int Nibble(std::string_view bytes, size_t index) {
    return (static_cast<unsigned char>(bytes[index / 2]) >> (index % 2 ? 0 : 4)) & 0xF;
}

}  // namespace

Result DecryptPinBlockFormat0(std::string_view pinKey, std::string_view encryptedBlock,
                              std::string_view pan, SecretBytes *pin) {
    if (pan.size() < 12 || pan.size() > 19 || !AllDigits(pan)) return Result::kBadPan;
    if (encryptedBlock.size() != kBlockBytes) return Result::kInvalidLength;
    SecretBytes block;
    if (wire::DesFamilyEcb(pinKey, false, encryptedBlock, &block.mutable_bytes()) != wire::OK)
        return Result::kInvalidLength;
    // The account block: four zero nibbles, then the PAN's 12 digits before its check digit.
    const std::string_view account =
        pan.substr(pan.size() - 1 - kPanDigitsInBlock, kPanDigitsInBlock);
    for (size_t i = 0; i < kPanDigitsInBlock; ++i) {
        const int shift = i % 2 ? 0 : 4;
        block.mutable_bytes()[2 + i / 2] =
            static_cast<char>(block.view()[2 + i / 2] ^ ((account[i] - '0') << shift));
    }
    const size_t length = static_cast<size_t>(Nibble(block.view(), 1));
    if (Nibble(block.view(), 0) != 0 || length < kMinPinDigits || length > kMaxPinDigits)
        return Result::kInvalidParameter;
    SecretBytes digits;
    for (size_t i = 0; i < 2 * kBlockBytes - 2; ++i) {
        const int nibble = Nibble(block.view(), 2 + i);
        if (i < length ? nibble > 9 : nibble != 0xF) return Result::kInvalidParameter;
        if (i < length) digits.mutable_bytes().push_back(static_cast<char>('0' + nibble));
    }
    *pin = std::move(digits);
    return Result::kOk;
}

Result VerifyIbm3624Offset(std::string_view pvk, std::string_view validationData,
                           std::string_view decimalization, std::string_view pin,
                           std::string_view offset, bool *matches) {
    if (validationData.size() != kBlockBytes || decimalization.size() != 16 ||
        pin.size() != offset.size() || pin.size() > 2 * kBlockBytes)
        return Result::kInvalidLength;
    if (!AllDigits(decimalization) || !AllDigits(pin) || !AllDigits(offset))
        return Result::kInvalidParameter;
    SecretBytes encrypted;
    if (wire::DesFamilyEcb(pvk, true, validationData, &encrypted.mutable_bytes()) != wire::OK)
        return Result::kInvalidLength;
    // Compare every digit, so the time taken does not tell where a wrong PIN differs.
    unsigned differences = 0;
    for (size_t i = 0; i < pin.size(); ++i) {
        const int natural = decimalization[static_cast<size_t>(Nibble(encrypted.view(), i))] - '0';
        const int expected = (natural + (offset[i] - '0')) % 10;
        differences |= static_cast<unsigned>(expected ^ (pin[i] - '0'));
    }
    *matches = differences == 0;
    return Result::kOk;
}

}  // namespace sim
