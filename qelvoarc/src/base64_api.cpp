// Base64 conversions. Local: these work before QInitialize.

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <cstring>

#include "qelvoarc.h"

extern "C" {

uint32_t QBase642ByteArray(const char *text, uint32_t textLength, uint8_t *out,
                           uint32_t *outLength) {
    if (text == nullptr || out == nullptr || outLength == nullptr) return Q_ERR_INVALID_PARAMETER;
    // EVP_DecodeBlock accepts neither a partial quantum nor, usefully, padding: it decodes
    // padding as zero bytes, which are dropped again below.
    if (textLength == 0 || textLength % 4 != 0) return Q_ERR_INVALID_PARAMETER;
    uint32_t padding = 0;
    if (text[textLength - 1] == '=') ++padding;
    if (text[textLength - 2] == '=') ++padding;
    for (uint32_t i = 0; i < textLength - padding; ++i)
        if (text[i] == '=') return Q_ERR_INVALID_PARAMETER;
    uint32_t needed = textLength / 4 * 3 - padding;
    if (*outLength < needed) {
        *outLength = needed;
        return Q_ERR_BUFFER_TOO_SMALL;
    }
    // Decoding writes the padding's zero bytes too, so it goes through a scratch buffer
    // whenever the caller's buffer has no room for them.
    uint32_t full = textLength / 4 * 3;
    unsigned char scratch[3 * 64];
    unsigned char *target = *outLength >= full ? out : nullptr;
    if (target == nullptr && full <= sizeof scratch) target = scratch;
    if (target == nullptr) {
        target = static_cast<unsigned char *>(QAlloc(full));
        if (target == nullptr) return Q_ERR_NO_MEMORY;
    }
    int decoded = EVP_DecodeBlock(target, reinterpret_cast<const unsigned char *>(text),
                                  static_cast<int>(textLength));
    if (decoded >= 0 && target != out) std::memcpy(out, target, needed);
    if (target == scratch)
        OPENSSL_cleanse(scratch, sizeof scratch);
    else if (target != out)
        QFree(target);
    if (decoded != static_cast<int>(full)) return Q_ERR_INVALID_PARAMETER;
    *outLength = needed;
    return Q_OK;
}

uint32_t QByteArray2Base64(const uint8_t *data, uint32_t length, char *text, uint32_t *textLength) {
    if ((data == nullptr && length != 0) || text == nullptr || textLength == nullptr)
        return Q_ERR_INVALID_PARAMETER;
    uint64_t needed = (uint64_t{length} + 2) / 3 * 4 + 1;
    if (needed > UINT32_MAX) return Q_ERR_INVALID_LENGTH;
    if (*textLength < needed) {
        *textLength = static_cast<uint32_t>(needed);
        return Q_ERR_BUFFER_TOO_SMALL;
    }
    int written =
        EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text), data, static_cast<int>(length));
    *textLength = static_cast<uint32_t>(written);
    return Q_OK;
}

}  // extern "C"
