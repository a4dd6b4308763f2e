#include "keys/key_info_text.h"

#include <cstdio>
#include <cstring>
#include <ctime>

std::string HexText(const uint8_t *data, size_t length) {
    std::string text;
    char digits[3];
    for (size_t i = 0; i < length; ++i) {
        snprintf(digits, sizeof digits, "%02X", data[i]);
        text += digits;
    }
    return text;
}

std::string FieldText(const char *field, size_t size) {
    return std::string(field, strnlen(field, size));
}

std::string CertificateDate(uint64_t secondsSince1970) {
    const time_t seconds = static_cast<time_t>(secondsSince1970);
    struct tm utc = {};
    gmtime_r(&seconds, &utc);
    char text[64] = {};
    strftime(text, sizeof text, "%Y-%b-%d %X UTC %z", &utc);
    return text;
}
