#pragma once
// What a program may do with the card in the reader, as a card would allow it. Each call
// takes the reader's lock, reads the card fresh and saves it whole when it changed (a wrong
// PIN changes it too). Every call answers OK or a status: ERR_NO_CARD when the reader is
// empty, ERR_FILE for a damaged card file, ERR_CARD_UNFORMATTED before any PIN is looked at,
// then the PIN's shape (CheckPinShape), ERR_PIN_ABSENT for a locked card, and
// ERR_CARD_PIN_WRONG.

#include <cstdint>
#include <string>

#include "card.h"
#include "card_reader.h"

namespace cards {

// The inserted card as it stands; no PIN needed.
[[nodiscard]] uint32_t DescribeCard(const Reader &reader, Card *card);

// ERR_CARD_NO_SHADOW when the card holds none.
[[nodiscard]] uint32_t ReadShadow(const Reader &reader, const char *pin, Shadow *shadow);
// ERR_CARD_HAS_SHADOW when the card holds one and `overwrite` is false.
[[nodiscard]] uint32_t WriteShadow(const Reader &reader, const char *pin, const Shadow &shadow,
                                   bool overwrite);

// The new PIN's shape is checked first; ERR_CARD_PIN_CHANGES when the card allows no more
// changes. The shadow is sealed again under the new PIN.
[[nodiscard]] uint32_t ChangePin(const Reader &reader, const char *pin, const char *newPin);

// Removes the shadow and the label; the PIN and its counters stay.
[[nodiscard]] uint32_t EraseCard(const Reader &reader, const char *pin);

[[nodiscard]] uint32_t ReadLabel(const Reader &reader, const char *pin, std::string *label);
// ERR_INVALID_LENGTH for more than kMaxLabel characters.
[[nodiscard]] uint32_t WriteLabel(const Reader &reader, const char *pin, const std::string &label);

}  // namespace cards
