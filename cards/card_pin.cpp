#include "card_pin.h"

#include <argon2.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <cstring>
#include <memory>
#include <stdexcept>

#include "status.h"

namespace cards {

namespace {

constexpr uint32_t kTimeCost = 3;
constexpr uint32_t kMemoryKiB = 12 * 1024;
constexpr size_t kSaltBytes = 16;
constexpr size_t kVerifierBytes = 32;
constexpr size_t kNonceBytes = 12;
constexpr size_t kTagBytes = 16;

std::string RandomBytes(size_t count) {
    std::string bytes(count, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char *>(bytes.data()), int(count)) != 1)
        throw std::runtime_error("no random bytes");
    return bytes;
}

// Argon2id(PIN, salt): the verifier kept in the card, then the shadow's key.
struct Derived {
    std::array<uint8_t, kVerifierBytes + 32> bytes{};
    Derived(const char *pin, const std::string &salt) {
        const int rc = argon2id_hash_raw(kTimeCost, kMemoryKiB, 1, pin, std::strlen(pin),
                                         salt.data(), salt.size(), bytes.data(), bytes.size());
        if (rc != ARGON2_OK) throw std::runtime_error(argon2_error_message(rc));
    }
    Derived(const Derived &) = delete;
    Derived &operator=(const Derived &) = delete;
    ~Derived() { OPENSSL_cleanse(bytes.data(), bytes.size()); }

    std::string Verifier() const {
        return std::string(reinterpret_cast<const char *>(bytes.data()), kVerifierBytes);
    }
    void Key(ShadowKey *key) const {
        std::memcpy(key->bytes.data(), bytes.data() + kVerifierBytes, key->bytes.size());
    }
};

void NewPin(Card *card, const char *pin, ShadowKey *key) {
    card->pinSalt = RandomBytes(kSaltBytes);
    Derived derived(pin, card->pinSalt);
    card->pinVerifier = derived.Verifier();
    derived.Key(key);
    card->pinTries = kPinTries;
}

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

// One AES-256-GCM pass over `in` (encrypting or decrypting) with the card's CSN as the
// authenticated data. The tag is written when encrypting and checked when decrypting.
bool Gcm(bool encrypt, const Card &card, const ShadowKey &key, const uint8_t *nonce,
         const uint8_t *in, uint8_t *out, uint8_t *tag) {
    CipherContext ctx(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    int length = 0;
    if (!ctx ||
        EVP_CipherInit_ex(ctx.get(), EVP_aes_256_gcm(), nullptr, key.bytes.data(), nonce,
                          encrypt ? 1 : 0) != 1 ||
        EVP_CipherUpdate(ctx.get(), nullptr, &length, card.csn.data(), int(card.csn.size())) != 1 ||
        EVP_CipherUpdate(ctx.get(), out, &length, in, int(kShadowSize)) != 1)
        return false;
    if (!encrypt && EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_SET_TAG, kTagBytes, tag) != 1)
        return false;
    if (EVP_CipherFinal_ex(ctx.get(), out + length, &length) != 1) return false;
    return !encrypt || EVP_CIPHER_CTX_ctrl(ctx.get(), EVP_CTRL_GCM_GET_TAG, kTagBytes, tag) == 1;
}

}  // namespace

uint32_t CheckPinShape(const char *pin) {
    if (pin == nullptr || pin[0] == '\0') return wire::ERR_PIN_ABSENT;
    if (std::strlen(pin) != kPinLength) return wire::ERR_PIN_LENGTH;
    for (const char *c = pin; *c != '\0'; ++c)
        if (*c < '0' || *c > '9') return wire::ERR_PIN_CHARACTERS;
    return wire::OK;
}

void Format(Card *card, const char *pin) {
    ShadowKey unused;
    NewPin(card, pin, &unused);
    card->formatted = true;
    card->pinChanges = kPinChanges;
    card->label.clear();
    card->sealedShadow.clear();
}

uint32_t PresentPin(Card *card, const char *pin, ShadowKey *key) {
    Derived derived(pin, card->pinSalt);
    const std::string verifier = derived.Verifier();
    if (verifier.size() != card->pinVerifier.size() ||
        CRYPTO_memcmp(verifier.data(), card->pinVerifier.data(), verifier.size()) != 0) {
        --card->pinTries;
        return card->pinTries == 0 ? wire::ERR_PIN_ABSENT : wire::ERR_CARD_PIN_WRONG;
    }
    card->pinTries = kPinTries;
    derived.Key(key);
    return wire::OK;
}

void ReplacePin(Card *card, const ShadowKey &key, const char *newPin) {
    Shadow shadow{};
    const bool hadShadow = OpenShadow(*card, key, &shadow);
    ShadowKey newKey;
    NewPin(card, newPin, &newKey);
    if (hadShadow) SealShadow(card, newKey, shadow);
    OPENSSL_cleanse(shadow.data(), shadow.size());
}

void SealShadow(Card *card, const ShadowKey &key, const Shadow &shadow) {
    std::string sealed = RandomBytes(kNonceBytes);
    sealed.resize(kNonceBytes + kShadowSize + kTagBytes);
    auto *bytes = reinterpret_cast<uint8_t *>(sealed.data());
    if (!Gcm(true, *card, key, bytes, shadow.data(), bytes + kNonceBytes,
             bytes + kNonceBytes + kShadowSize))
        throw std::runtime_error("sealing the shadow failed");
    card->sealedShadow = std::move(sealed);
}

bool OpenShadow(const Card &card, const ShadowKey &key, Shadow *shadow) {
    if (card.sealedShadow.size() != kNonceBytes + kShadowSize + kTagBytes) return false;
    std::string sealed = card.sealedShadow;  // the tag is handed to OpenSSL as writable
    auto *bytes = reinterpret_cast<uint8_t *>(sealed.data());
    Shadow opened{};
    const bool ok = Gcm(false, card, key, bytes, bytes + kNonceBytes, opened.data(),
                        bytes + kNonceBytes + kShadowSize);
    if (ok) *shadow = opened;
    OPENSSL_cleanse(opened.data(), opened.size());
    return ok;
}

}  // namespace cards
