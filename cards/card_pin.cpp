#include "card_pin.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <cstring>
#include <stdexcept>
#include <string_view>

#include "aes_gcm.h"
#include "argon2_key.h"
#include "status.h"

namespace cards {

namespace {

constexpr wire::Argon2Params kPinKeyParams{3, 12 * 1024, 1};
constexpr size_t kSaltBytes = 16;
constexpr size_t kVerifierBytes = 32;
constexpr size_t kSealedBytes = wire::kGcmNonceBytes + kShadowSize + wire::kGcmTagBytes;

std::string RandomBytes(size_t count) {
    std::string bytes(count, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char *>(bytes.data()), int(count)) != 1)
        throw std::runtime_error("no random bytes");
    return bytes;
}

template <size_t N>
std::string_view View(const std::array<uint8_t, N> &bytes) {
    return std::string_view(reinterpret_cast<const char *>(bytes.data()), N);
}

// Argon2id(PIN, salt): the verifier kept in the card, then the shadow's key.
struct Derived {
    std::array<uint8_t, kVerifierBytes + 32> bytes{};
    Derived(const char *pin, const std::string &salt) {
        wire::DeriveArgon2id(pin, salt, kPinKeyParams, bytes.data(), bytes.size());
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

// The sealed shadow is nonce || ciphertext || tag, with the card's CSN as authenticated data.
void SealShadow(Card *card, const ShadowKey &key, const Shadow &shadow) {
    std::string sealed = RandomBytes(wire::kGcmNonceBytes);
    sealed.resize(kSealedBytes);
    auto *bytes = reinterpret_cast<unsigned char *>(sealed.data());
    wire::GcmSeal(View(key.bytes), bytes, View(shadow), View(card->csn),
                  bytes + wire::kGcmNonceBytes);
    card->sealedShadow = std::move(sealed);
}

bool OpenShadow(const Card &card, const ShadowKey &key, Shadow *shadow) {
    const std::string_view sealed = card.sealedShadow;
    if (sealed.size() != kSealedBytes) return false;
    Shadow opened{};
    const bool ok =
        wire::GcmOpen(View(key.bytes), reinterpret_cast<const unsigned char *>(sealed.data()),
                      sealed.substr(wire::kGcmNonceBytes), View(card.csn), opened.data());
    if (ok) *shadow = opened;
    OPENSSL_cleanse(opened.data(), opened.size());
    return ok;
}

}  // namespace cards
