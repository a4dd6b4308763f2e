#include "aes_gcm.h"

#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace wire {

namespace {

using CipherCtx = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

CipherCtx NewCtx() {
    CipherCtx ctx(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
    if (!ctx) throw std::runtime_error("EVP_CIPHER_CTX_new failed");
    return ctx;
}

// Fetched once: a cipher named by EVP_aes_256_gcm() is looked up in the providers, under a
// lock, on every init, and every key opened pays for it.
const EVP_CIPHER *Aes256Gcm() {
    static EVP_CIPHER *const cipher = EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr);
    return cipher;
}

const unsigned char *Bytes(std::string_view s) {
    return reinterpret_cast<const unsigned char *>(s.data());
}

}  // namespace

void GcmSeal(std::string_view key, const unsigned char *nonce, std::string_view plain,
             std::string_view associated, unsigned char *out) {
    CipherCtx ctx = NewCtx();
    int length = 0;
    if (EVP_EncryptInit_ex(ctx.get(), Aes256Gcm(), nullptr, Bytes(key), nonce) != 1 ||
        (!associated.empty() && EVP_EncryptUpdate(ctx.get(), nullptr, &length, Bytes(associated),
                                                  static_cast<int>(associated.size())) != 1) ||
        EVP_EncryptUpdate(ctx.get(), out, &length, Bytes(plain), static_cast<int>(plain.size())) !=
            1 ||
        EVP_EncryptFinal_ex(ctx.get(), out + length, &length) != 1 ||
        EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, kGcmTagBytes, out + plain.size()) != 1)
        throw std::runtime_error("AES-GCM seal failed");
}

bool GcmOpen(std::string_view key, const unsigned char *nonce, std::string_view sealed,
             std::string_view associated, unsigned char *out) {
    if (sealed.size() < kGcmTagBytes) return false;
    const size_t bodyBytes = sealed.size() - kGcmTagBytes;
    unsigned char tag[kGcmTagBytes];
    std::copy_n(Bytes(sealed) + bodyBytes, kGcmTagBytes, tag);
    CipherCtx ctx = NewCtx();
    int length = 0;
    return EVP_DecryptInit_ex(ctx.get(), Aes256Gcm(), nullptr, Bytes(key), nonce) == 1 &&
           (associated.empty() || EVP_DecryptUpdate(ctx.get(), nullptr, &length, Bytes(associated),
                                                    static_cast<int>(associated.size())) == 1) &&
           EVP_DecryptUpdate(ctx.get(), out, &length, Bytes(sealed), static_cast<int>(bodyBytes)) ==
               1 &&
           EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, kGcmTagBytes, tag) == 1 &&
           EVP_DecryptFinal_ex(ctx.get(), out + length, &length) == 1;
}

}  // namespace wire
