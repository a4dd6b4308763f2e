#pragma once
// A virtual smart card and its file.
//
// A reader is a directory. Each card is the file NAME.card in it; the card in the reader is
// named by the file "inserted" (the card's name and a newline), which is absent when the
// reader is empty. Both are replaced whole (temporary file, fsync, rename), so a reader never
// sees half a card, and every change of a card holds the reader's lock (".lock", flock).
//
// A card file is text, one field per line, "key value", in this order:
//
//   orvena-card 1                  format and its version
//   atr HEX                        answer-to-reset bytes
//   csn HEX                        12 random bytes, fixed for the card's life
//   family TEXT, name TEXT, os TEXT
//   prog HEX, chip HEX, lock1 HEX, lock2 HEX   one byte each
//   large 0|1, profile-oe 0|1
//   formatted 0|1                  an unformatted card has no PIN, counters, label or shadow
//   pin-salt HEX                   16 bytes, new with every PIN
//   pin-verifier HEX               first 32 bytes of Argon2id(PIN, salt); see below
//   pin-tries N                    wrong PINs left before the card locks (0: locked)
//   pin-changes N                  PIN changes left (0: the PIN is locked against changes)
//   label HEX                      at most 32 bytes
//   shadow HEX                     empty, or nonce (12) | AES-256-GCM ciphertext (63) | tag (16)
//
// Argon2id of the PIN and salt gives 64 bytes: the first half is the verifier kept in the
// file, the second half the shadow's key, which is never kept. The shadow's authenticated
// data is the CSN, so a shadow moved to another card does not open. A copy of the file
// without the PIN yields neither the PIN (eight digits behind a memory-hard hash per guess)
// nor the shadow.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace cards {

constexpr size_t kShadowSize = 63;
constexpr size_t kMaxLabel = 32;
constexpr size_t kPinLength = 8;
constexpr uint8_t kPinTries = 3;    // wrong PINs a formatted card accepts before it locks
constexpr uint8_t kPinChanges = 1;  // a new card's PIN may be changed once

using Shadow = std::array<uint8_t, kShadowSize>;

struct Card {
    std::vector<uint8_t> atr;
    std::array<uint8_t, 12> csn{};
    std::string family;
    std::string name;
    std::string os;
    uint8_t progVersion = 0;
    uint8_t chipVersion = 0;
    uint8_t lock1 = 0;
    uint8_t lock2 = 0;
    bool large = false;
    bool profileOe = false;
    bool formatted = false;
    std::string pinSalt;
    std::string pinVerifier;
    uint8_t pinTries = 0;
    uint8_t pinChanges = 0;
    std::string label;
    std::string sealedShadow;  // empty: no shadow
};

// A blank card with a new random CSN, unformatted.
Card BlankCard();

// The card's text as stored in its file.
std::string CardText(const Card &card);

// Parses a card file's text. false when it is not a well-formed card.
[[nodiscard]] bool ParseCard(const std::string &text, Card *card);

}  // namespace cards
