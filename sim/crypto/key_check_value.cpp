#include "crypto/key_check_value.h"

#include <openssl/evp.h>
#include <openssl/provider.h>

#include <memory>
#include <mutex>
#include <string>

#include "constants.pb.h"
#include "crypto/rc5.h"

namespace sim {

namespace {

using wire::pb::ALG_ARC4;
using wire::pb::ALG_ARC5;
using wire::pb::ALG_DESX;

Result FromWire(wire::Status status) {
    switch (status) {
        case wire::OK:
            return Result::kOk;
        case wire::ERR_BAD_ALGORITHM:
            return Result::kBadAlgorithm;
        case wire::ERR_INVALID_LENGTH:
            return Result::kInvalidLength;
        default:
            return Result::kInternal;
    }
}

// RC4 lives only in OpenSSL's legacy provider; the default one is loaded beside it so that
// loading legacy does not hide the ordinary algorithms. Both are unloaded at exit.
class LegacyProviders {
  public:
    LegacyProviders()
        : default_(OSSL_PROVIDER_load(nullptr, "default")),
          legacy_(OSSL_PROVIDER_load(nullptr, "legacy")) {}
    ~LegacyProviders() {
        if (legacy_ != nullptr) OSSL_PROVIDER_unload(legacy_);
        if (default_ != nullptr) OSSL_PROVIDER_unload(default_);
    }
    LegacyProviders(const LegacyProviders &) = delete;
    LegacyProviders &operator=(const LegacyProviders &) = delete;
    bool loaded() const { return default_ != nullptr && legacy_ != nullptr; }

  private:
    OSSL_PROVIDER *default_;
    OSSL_PROVIDER *legacy_;
};

bool LoadLegacyProvider() {
    static LegacyProviders providers;
    return providers.loaded();
}

Result Arc4CheckValue(std::string_view key, wire::CheckValue *out) {
    if (!LoadLegacyProvider()) return Result::kNotSupported;
    std::unique_ptr<EVP_CIPHER, decltype(&EVP_CIPHER_free)> rc4(
        EVP_CIPHER_fetch(nullptr, "RC4", nullptr), &EVP_CIPHER_free);
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                        &EVP_CIPHER_CTX_free);
    if (!rc4 || !ctx) return Result::kNotSupported;
    const unsigned char zeros[wire::kCheckValueBytes] = {};
    int length = 0;
    if (EVP_EncryptInit_ex2(ctx.get(), rc4.get(), nullptr, nullptr, nullptr) != 1 ||
        EVP_CIPHER_CTX_set_key_length(ctx.get(), static_cast<int>(key.size())) != 1 ||
        EVP_EncryptInit_ex2(ctx.get(), nullptr, reinterpret_cast<const unsigned char *>(key.data()),
                            nullptr, nullptr) != 1 ||
        EVP_EncryptUpdate(ctx.get(), out->data(), &length, zeros, sizeof zeros) != 1)
        return Result::kInternal;
    return Result::kOk;
}

Result Arc5CheckValue(std::string_view key, wire::CheckValue *out) {
    Rc5::Block block = Rc5(key).Encrypt(Rc5::Block{});
    std::copy(block.begin(), block.begin() + wire::kCheckValueBytes, out->begin());
    return Result::kOk;
}

// DESX encrypts a zero block as outer ^ DES(key, inner), the key being key || inner || outer.
Result DesxCheckValue(std::string_view key, wire::CheckValue *out) {
    constexpr size_t kPart = 8;
    std::string des;
    for (int i = 0; i < 3; ++i)
        des.append(key.substr(0, kPart));
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(),
                                                                        &EVP_CIPHER_CTX_free);
    unsigned char block[2 * kPart];
    int length = 0;
    bool ok =
        ctx &&
        EVP_EncryptInit_ex(ctx.get(), EVP_des_ede3_ecb(), nullptr,
                           reinterpret_cast<const unsigned char *>(des.data()), nullptr) == 1 &&
        EVP_CIPHER_CTX_set_padding(ctx.get(), 0) == 1 &&
        EVP_EncryptUpdate(ctx.get(), block, &length,
                          reinterpret_cast<const unsigned char *>(key.data()) + kPart, kPart) == 1;
    OPENSSL_cleanse(des.data(), des.size());
    if (ok)
        for (size_t i = 0; i < wire::kCheckValueBytes; ++i)
            (*out)[i] = block[i] ^ static_cast<uint8_t>(key[2 * kPart + i]);
    OPENSSL_cleanse(block, sizeof block);
    return ok ? Result::kOk : Result::kInternal;
}

}  // namespace

Result KeyCheckValue(uint32_t id, wire::pb::CheckValueFormat format, std::string_view key,
                     wire::CheckValue *out) {
    if (id != ALG_ARC4 && id != ALG_ARC5 && id != ALG_DESX)
        return FromWire(wire::ComputeCheckValue(id, format, key, out));
    if (format != wire::pb::KCV_CLASSIC) return Result::kBadAlgorithm;
    if (key.size() != wire::SymmetricKeyLength(id)) return Result::kInvalidLength;
    if (id == ALG_ARC4) return Arc4CheckValue(key, out);
    if (id == ALG_ARC5) return Arc5CheckValue(key, out);
    return DesxCheckValue(key, out);
}

}  // namespace sim
