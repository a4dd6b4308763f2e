#include "check_value.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <memory>
#include <string>

namespace wire {

namespace {

// Device library algorithm identifiers.
constexpr uint32_t kDes = 1, kTdes112 = 2, kTdes168 = 3, kAes128 = 7, kAes192 = 8, kAes256 = 9,
                   kArc4 = 10, kArc5 = 89, kDesx = 91;

constexpr unsigned char kZeroBlock[16] = {};

bool IsDesFamily(uint32_t algorithm) {
    return algorithm == kDes || algorithm == kTdes112 || algorithm == kTdes168;
}

bool IsAes(uint32_t algorithm) {
    return algorithm == kAes128 || algorithm == kAes192 || algorithm == kAes256;
}

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

}  // namespace

uint32_t SymmetricKeyLength(uint32_t algorithm) {
    switch (algorithm) {
        case kDes:
            return 8;
        case kTdes112:
        case kAes128:
        case kArc4:
        case kArc5:
        case 92:  // HMAC MD5
            return 16;
        case kTdes168:
        case kAes192:
        case kDesx:
            return 24;
        case kAes256:
        case 94:  // HMAC SHA-256
        case 99:  // HMAC SHA3-256
            return 32;
        case 93:  // HMAC SHA-1
            return 20;
        case 97:  // HMAC SHA-224
        case 98:  // HMAC SHA3-224
            return 28;
        case 95:   // HMAC SHA-384
        case 100:  // HMAC SHA3-384
            return 48;
        case 96:   // HMAC SHA-512
        case 101:  // HMAC SHA3-512
            return 64;
        default:
            return 0;
    }
}

Status ComputeCheckValue(uint32_t algorithm, CheckValueFormat format, std::string_view key,
                         CheckValue *out) {
    if (!IsDesFamily(algorithm) && !IsAes(algorithm)) return ERR_BAD_ALGORITHM;
    if (key.size() != SymmetricKeyLength(algorithm)) return ERR_INVALID_LENGTH;
    if (IsDesFamily(algorithm)) {
        WipedString des(ToThreeKeyDes(key));
        return format == CheckValueFormat::kKcv ? EncryptZeroBlock(EVP_des_ede3_ecb(), des, out)
                                                : CmacOfZeroBlock("DES-EDE3-CBC", des, 8, out);
    }
    WipedString aes{std::string(key)};
    if (format == CheckValueFormat::kKcv) {
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

}  // namespace wire
