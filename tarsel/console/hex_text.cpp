// Hexadecimal text typed openly by the user.
#include <cctype>
#include <cstring>

#include "console/prompts.h"

namespace {

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    return tolower(static_cast<unsigned char>(c)) - 'a' + 10;
}

}  // namespace

bool IsHexString(const char *text) {
    for (; *text != '\0'; ++text) {
        if (!isxdigit(static_cast<unsigned char>(*text))) return false;
    }
    return true;
}

bool HexToBytes(const char *text, std::vector<uint8_t> *out) {
    size_t length = strlen(text);
    if (length % 2 != 0 || !IsHexString(text)) return false;
    out->clear();
    out->reserve(length / 2);
    for (size_t i = 0; i < length; i += 2) {
        out->push_back(static_cast<uint8_t>(HexValue(text[i]) << 4 | HexValue(text[i + 1])));
    }
    return true;
}
