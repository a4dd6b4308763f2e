#include "check_value.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <string>

namespace wire {

namespace {

constexpr unsigned char kZeroBlock[16] = {};

// Single and two-key DES keys run as three-key DES with repeated parts, which computes the
// same function and needs no legacy provider.
std::string ToThreeKeyDes(std::string_view key) {
    std::string expanded;
    expanded.reserve(24);
    if (key.size() == 8) {
        for (int i = 0; i < 3; ++i)
            expanded.append(key);
    } else if (key.size() == 16) {
        expanded.append(key).append(key.substr(0, 8));
    } else {
        expanded.append(key);
    }
    return expanded;
}

class WipedString {
  public:
    explicit WipedString(std::string text) : text_(std::move(text)) {}
    ~WipedString() { OPENSSL_cleanse(text_.data(), text_.size()); }
    WipedString(const WipedString &) = delete;
    WipedString &operator=(const WipedString &) = delete;
    const unsigned char *bytes() const {
        return reinterpret_cast<const unsigned char *>(text_.data());
    }
    size_t size() const { return text_.size(); }

  private:
    std::string text_;
};

Status EncryptZeroBlock(const EVP_CIPHER *cipher, const WipedString &key, CheckValue *out) {
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                        &EVP_CIPHER_CTX_free);
    unsigned char block[32];
    int length = 0;
    int blockSize = EVP_CIPHER_get_block_size(cipher);
    if (!ctx || EVP_EncryptInit_ex(ctx.get(), cipher, nullptr, key.bytes(), nullptr) != 1 ||
        EVP_CIPHER_CTX_set_padding(ctx.get(), 0) != 1 ||
        EVP_EncryptUpdate(ctx.get(), block, &length, kZeroBlock, blockSize) != 1 ||
        length != blockSize)
        return ERR_INTERNAL;
    std::copy(block, block + kCheckValueBytes, out->begin());
    OPENSSL_cleanse(block, sizeof block);
    return OK;
}

Status CmacOfZeroBlock(const char *cipherName, const WipedString &key, size_t blockSize,
                       CheckValue *out) {
    std::unique_ptr<EVP_MAC, decltype(&EVP_MAC_free)> mac(EVP_MAC_fetch(nullptr, "CMAC", nullptr),
                                                          &EVP_MAC_free);
    if (!mac) return ERR_INTERNAL;
    std::unique_ptr<EVP_MAC_CTX, decltype(&EVP_MAC_CTX_free)> ctx(EVP_MAC_CTX_new(mac.get()),
                                                                  &EVP_MAC_CTX_free);
    OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_CIPHER, const_cast<char *>(cipherName), 0),
        OSSL_PARAM_construct_end()};
    unsigned char tag[16];
    size_t tagLength = 0;
    if (!ctx || EVP_MAC_init(ctx.get(), key.bytes(), key.size(), params) != 1 ||
        EVP_MAC_update(ctx.get(), kZeroBlock, blockSize) != 1 ||
        EVP_MAC_final(ctx.get(), tag, &tagLength, sizeof tag) != 1 || tagLength < kCheckValueBytes)
        return ERR_INTERNAL;
    std::copy(tag, tag + kCheckValueBytes, out->begin());
    return OK;
}

// Fetched once: a cipher named by EVP_des_ede3_ecb() is looked up in the providers, under a
// lock, on every init, which costs more than the few blocks a payment function encrypts.
const EVP_CIPHER *TripleDesEcb() {
    static EVP_CIPHER *const cipher = EVP_CIPHER_fetch(nullptr, "DES-EDE3-ECB", nullptr);
    return cipher;
}

}  // namespace

bool IsDesFamily(uint32_t algorithm) {
    return algorithm == pb::ALG_DES || algorithm == pb::ALG_3DES_112 ||
           algorithm == pb::ALG_3DES_168;
}

bool IsAes(uint32_t algorithm) {
    return algorithm == pb::ALG_AES_128 || algorithm == pb::ALG_AES_192 ||
           algorithm == pb::ALG_AES_256;
}

uint32_t SymmetricKeyLength(uint32_t algorithm) {
    switch (algorithm) {
        case pb::ALG_DES:
            return 8;
        case pb::ALG_3DES_112:
        case pb::ALG_AES_128:
        case pb::ALG_ARC4:
        case pb::ALG_ARC5:
        case pb::ALG_HMAC_MD5:
            return 16;
        case pb::ALG_HMAC_SHA1:
            return 20;
        case pb::ALG_3DES_168:
        case pb::ALG_AES_192:
        case pb::ALG_DESX:
            return 24;
        case pb::ALG_HMAC_SHA224:
        case pb::ALG_HMAC_SHA3_224:
            return 28;
        case pb::ALG_AES_256:
        case pb::ALG_HMAC_SHA256:
        case pb::ALG_HMAC_SHA3_256:
            return 32;
        case pb::ALG_HMAC_SHA384:
        case pb::ALG_HMAC_SHA3_384:
            return 48;
        case pb::ALG_HMAC_SHA512:
        case pb::ALG_HMAC_SHA3_512:
            return 64;
        default:
            return 0;
    }
}

Status ComputeCheckValue(uint32_t algorithm, pb::CheckValueFormat format, std::string_view key,
                         CheckValue *out) {
    if (format != pb::KCV_CLASSIC && format != pb::KCV_CMAC) return ERR_INVALID_PARAMETER;
    if (!IsDesFamily(algorithm) && !IsAes(algorithm)) return ERR_BAD_ALGORITHM;
    if (key.size() != SymmetricKeyLength(algorithm)) return ERR_INVALID_LENGTH;
    if (IsDesFamily(algorithm)) {
        WipedString des(ToThreeKeyDes(key));
        return format == pb::KCV_CLASSIC ? EncryptZeroBlock(EVP_des_ede3_ecb(), des, out)
                                         : CmacOfZeroBlock("DES-EDE3-CBC", des, 8, out);
    }
    WipedString aes{std::string(key)};
    if (format == pb::KCV_CLASSIC) {
        const EVP_CIPHER *cipher = key.size() == 16   ? EVP_aes_128_ecb()
                                   : key.size() == 24 ? EVP_aes_192_ecb()
                                                      : EVP_aes_256_ecb();
        return EncryptZeroBlock(cipher, aes, out);
    }
    const char *name = key.size() == 16   ? "AES-128-CBC"
                       : key.size() == 24 ? "AES-192-CBC"
                                          : "AES-256-CBC";
    return CmacOfZeroBlock(name, aes, 16, out);
}

Status DesFamilyEcb(std::string_view key, bool encrypt, std::string_view in, std::string *out) {
    if ((key.size() != 8 && key.size() != 16 && key.size() != 24) || in.size() % 8 != 0)
        return ERR_INVALID_LENGTH;
    WipedString des(ToThreeKeyDes(key));
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                        &EVP_CIPHER_CTX_free);
    std::string result(in.size(), '\0');
    int length = 0;
    if (!ctx ||
        EVP_CipherInit_ex(ctx.get(), TripleDesEcb(), nullptr, des.bytes(), nullptr,
                          encrypt ? 1 : 0) != 1 ||
        EVP_CIPHER_CTX_set_padding(ctx.get(), 0) != 1 ||
        EVP_CipherUpdate(ctx.get(), reinterpret_cast<unsigned char *>(result.data()), &length,
                         reinterpret_cast<const unsigned char *>(in.data()),
                         static_cast<int>(in.size())) != 1 ||
        static_cast<size_t>(length) != in.size()) {
        OPENSSL_cleanse(result.data(), result.size());
        return ERR_INTERNAL;
    }
    *out = std::move(result);
    return OK;
}

}  // namespace wire
