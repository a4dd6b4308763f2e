#include "crypto/cvv.h"

#include <algorithm>

#include "check_value.h"
#include "core/secret.h"

namespace sim {

namespace {

constexpr size_t kCvvDigits = 3;

bool AllDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool ValidExpiration(std::string_view yymm) {
    if (yymm.size() != 4 || !AllDigits(yymm)) return false;
    const int month = (yymm[2] - '0') * 10 + (yymm[3] - '0');
    return month >= 1 && month <= 12;
}

// Two hexadecimal digits per byte of the 32-digit block, zero-filled on the right.
std::string PackDigits(std::string_view digits) {
    std::string block(16, '\0');
    for (size_t i = 0; i < digits.size(); ++i)
        block[i / 2] = static_cast<char>(block[i / 2] | ((digits[i] - '0') << (i % 2 ? 0 : 4)));
    return block;
}

// The decimal digits of the block's nibbles first, then the others less ten.
std::string Decimalize(std::string_view block) {
    std::string digits;
    for (int pass = 0; pass < 2 && digits.size() < kCvvDigits; ++pass) {
        for (size_t i = 0; i < block.size() * 2 && digits.size() < kCvvDigits; ++i) {
            const int nibble = (static_cast<unsigned char>(block[i / 2]) >> (i % 2 ? 0 : 4)) & 0xF;
            if (pass == 0 && nibble < 10) digits.push_back(static_cast<char>('0' + nibble));
            if (pass == 1 && nibble >= 10) digits.push_back(static_cast<char>('0' + nibble - 10));
        }
    }
    return digits;
}

}  // namespace

Result ComputeCvv(std::string_view key, std::string_view pan, std::string_view expirationDate,
                  std::string_view serviceCode, std::string *cvv) {
    if (pan.size() < 12 || pan.size() > 19 || !AllDigits(pan)) return Result::kBadPan;
    if (!ValidExpiration(expirationDate)) return Result::kBadExpirationDate;
    if (serviceCode.size() != 3 || !AllDigits(serviceCode)) return Result::kBadServiceCode;
    if (key.size() != 16) return Result::kInvalidLength;
    std::string digits(pan);
    digits.append(expirationDate).append(serviceCode);
    const std::string data = PackDigits(digits);
    // Block 1 under the left key half alone, then, XORed with block 2, under the whole key.
    SecretBytes first;
    if (wire::DesFamilyEcb(key.substr(0, 8), true, std::string_view(data).substr(0, 8),
                           &first.mutable_bytes()) != wire::OK)
        return Result::kInternal;
    for (size_t i = 0; i < 8; ++i)
        first.mutable_bytes()[i] = static_cast<char>(first.view()[i] ^ data[8 + i]);
    SecretBytes second;
    if (wire::DesFamilyEcb(key, true, first.view(), &second.mutable_bytes()) != wire::OK)
        return Result::kInternal;
    *cvv = Decimalize(second.view());
    return Result::kOk;
}

}  // namespace sim
