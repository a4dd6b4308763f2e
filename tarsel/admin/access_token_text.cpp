#include "admin/access_token_text.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include "device/secret.h"

namespace {

// Converts `count` digits at `text`; false when one is not a digit.
bool Digits(const char *text, int count, int *value) {
    *value = 0;
    for (int i = 0; i < count; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        *value = *value * 10 + (text[i] - '0');
    }
    return true;
}

bool OnlyDigitsAndBlanks(const char *text) {
    return text[strspn(text, "0123456789 ")] == '\0';
}

}  // namespace

bool ParseTokenExpiration(const char *text, uint64_t *expiration) {
    const size_t length = strlen(text);
    if (length == 0) {
        *expiration = Q_ATOKEN_NO_EXPIRATION;
        return true;
    }
    if (!OnlyDigitsAndBlanks(text) || (length != 6 && length != 8 && length != 15)) return false;

    struct tm fields {};
    int year = 0;
    const int yearDigits = length == 6 ? 2 : 4;
    const char *monthDay = text + yearDigits;
    if (!Digits(text, yearDigits, &year) || !Digits(monthDay, 2, &fields.tm_mon) ||
        !Digits(monthDay + 2, 2, &fields.tm_mday)) {
        return false;
    }
    if (length == 15 &&
        (text[8] != ' ' || !Digits(text + 9, 2, &fields.tm_hour) ||
         !Digits(text + 11, 2, &fields.tm_min) || !Digits(text + 13, 2, &fields.tm_sec))) {
        return false;
    }
    if (fields.tm_mon < 1 || fields.tm_mon > 12 || fields.tm_mday < 1 || fields.tm_mday > 31 ||
        fields.tm_hour > 23 || fields.tm_min > 59 || fields.tm_sec > 59) {
        return false;
    }
    fields.tm_year = (length == 6 ? 2000 + year : year) - 1900;
    fields.tm_mon -= 1;
    const time_t seconds = timegm(&fields);
    if (seconds < 0) return false;
    *expiration = static_cast<uint64_t>(seconds);
    return true;
}

void FormatTokenExpiration(uint64_t expiration, char *text) {
    if (expiration == Q_ATOKEN_NO_EXPIRATION) {
        snprintf(text, kExpirationTextSize, "%s", "none");
        return;
    }
    const time_t seconds = static_cast<time_t>(expiration);
    struct tm utc {};
    gmtime_r(&seconds, &utc);
    strftime(text, kExpirationTextSize, "%Y/%m/%d %H:%M:%S", &utc);
}

uint32_t EncodeToken(const uint8_t token[32], char *text) {
    uint32_t length = kTokenBase64Size;
    return QByteArray2Base64(token, 32, text, &length);
}

uint32_t DecodeToken(const char *text, uint8_t token[32]) {
    // Room for what any text of the accepted length decodes to.
    Secret<uint8_t[kTokenTextChars]> bytes;
    uint32_t length = sizeof bytes.value;
    const uint32_t rc = QBase642ByteArray(text, uint32_t(strlen(text)), bytes.value, &length);
    if (rc != Q_OK) return rc;
    if (length != 32) return Q_ERR_INVALID_LENGTH;
    memcpy(token, bytes.value, 32);
    return Q_OK;
}

void TokenOfInfo(const QAccessTokenInfo &info, uint8_t token[32]) {
    memcpy(token, info.owner, sizeof info.owner);
    memcpy(token + sizeof info.owner, info.key, sizeof info.key);
}
