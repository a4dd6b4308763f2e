#pragma once
// The PIN of a card: its verifier, its counters and the key of the shadow it guards.

#include <openssl/crypto.h>

#include <array>
#include <cstdint>

#include "card.h"

namespace cards {

// The key a PIN opens a card's shadow with; wiped when it goes away.
struct ShadowKey {
    std::array<uint8_t, 32> bytes{};
    ShadowKey() = default;
    ShadowKey(const ShadowKey &) = delete;
    ShadowKey &operator=(const ShadowKey &) = delete;
    ~ShadowKey() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
};

// The status of a PIN's shape: OK, ERR_PIN_ABSENT (null or empty), ERR_PIN_LENGTH (not 8
// characters) or ERR_PIN_CHARACTERS (not all decimal digits).
[[nodiscard]] uint32_t CheckPinShape(const char *pin);

// Formats the card under `pin` (of a good shape): new salt and verifier, full counters, no
// label and no shadow.
void Format(Card *card, const char *pin);

// Checks `pin` against the card's verifier, in constant time, and counts the try: a good PIN
// restores the retry counter, a wrong one takes one off. REQUIRES: the card is formatted and
// not locked. Returns OK with the shadow's key in *key, ERR_CARD_PIN_WRONG, or ERR_PIN_ABSENT
// when this wrong PIN locked the card.
[[nodiscard]] uint32_t PresentPin(Card *card, const char *pin, ShadowKey *key);

// Puts a new PIN on an opened card: new salt, verifier and key; the shadow is sealed again
// under the new key. REQUIRES: `key` opens the card's shadow.
void ReplacePin(Card *card, const ShadowKey &key, const char *newPin);

// Seals `shadow` into the card under `key`.
void SealShadow(Card *card, const ShadowKey &key, const Shadow &shadow);

// Opens the card's shadow. false when there is none or it does not open under `key`.
[[nodiscard]] bool OpenShadow(const Card &card, const ShadowKey &key, Shadow *shadow);

}  // namespace cards
