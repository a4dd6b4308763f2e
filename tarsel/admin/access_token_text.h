#pragma once
// How access tokens and their expirations are typed and shown.

#include <cstddef>
#include <cstdint>

#include "qelvoarc.h"

// Expirations are shown as "YYYY/MM/DD hh:mm:ss" (UTC) or "none".
inline constexpr size_t kExpirationTextSize = 32;
// Token text as typed: at most 270 characters.
inline constexpr size_t kTokenTextChars = 270;
// The standard Base64 of 32 bytes with its terminator.
inline constexpr size_t kTokenBase64Size = 45;

// Reads an expiration typed as "YYYYMMDD", "YYYYMMDD hhmmss" or "YYMMDD" (20YY), in UTC, into
// seconds since 1970; an empty text means Q_ATOKEN_NO_EXPIRATION. False for anything else:
// other characters than digits and blanks, another length, or fields out of range.
bool ParseTokenExpiration(const char *text, uint64_t *expiration);

// REQUIRES: text holds kExpirationTextSize bytes.
void FormatTokenExpiration(uint64_t expiration, char *text);

// The Base64 text of a token. REQUIRES: text holds kTokenBase64Size bytes. Returns 0 or
// the library's code.
uint32_t EncodeToken(const uint8_t token[32], char *text);

// Decodes typed Base64 into exactly 32 bytes. Returns 0, the library's code, or
// Q_ERR_INVALID_LENGTH when the text does not carry 32 bytes.
uint32_t DecodeToken(const char *text, uint8_t token[32]);

// How an enumeration names a token: the owner's id followed by its key value. The HSM
// accepts this name wherever it takes a token, except to log in.
void TokenOfInfo(const QAccessTokenInfo &info, uint8_t token[32]);
