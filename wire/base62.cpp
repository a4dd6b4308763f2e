#include "base62.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace wire {

namespace {

constexpr char kDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

int DigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    if (c >= 'a' && c <= 'z') return c - 'a' + 36;
    return -1;
}

}  // namespace

std::string EncodeBase62(std::string_view bytes) {
    std::vector<uint8_t> number(bytes.begin(), bytes.end());
    std::string text;
    // Long division by 62 until nothing is left; the digits come out least significant first.
    while (!number.empty()) {
        uint32_t remainder = 0;
        std::vector<uint8_t> quotient;
        for (uint8_t byte : number) {
            const uint32_t value = remainder * 256 + byte;
            if (!quotient.empty() || value / 62 != 0)
                quotient.push_back(static_cast<uint8_t>(value / 62));
            remainder = value % 62;
        }
        text.push_back(kDigits[remainder]);
        std::fill(number.begin(), number.end(), 0);
        number.swap(quotient);
    }
    std::reverse(text.begin(), text.end());
    return text;
}

bool DecodeBase62(std::string_view text, std::string *bytes) {
    if (!IsBase62(text)) return false;
    std::vector<uint8_t> number;  // little-endian while it grows
    for (char c : text) {
        uint32_t carry = static_cast<uint32_t>(DigitValue(c));
        for (uint8_t &byte : number) {
            const uint32_t value = byte * 62u + carry;
            byte = static_cast<uint8_t>(value);
            carry = value >> 8;
        }
        for (; carry != 0; carry >>= 8)
            number.push_back(static_cast<uint8_t>(carry));
    }
    bytes->assign(number.rbegin(), number.rend());
    std::fill(number.begin(), number.end(), 0);
    return true;
}

bool IsBase62(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return DigitValue(c) >= 0; });
}

}  // namespace wire
