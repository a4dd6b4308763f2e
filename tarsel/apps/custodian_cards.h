#pragma once
// The custodians' side of a smart-card ceremony: the card PIN, one card's shadow read or
// written, and the loops that pass a whole set from card to card, each custodian on a fresh
// screen.

#include <cstdint>

#include "console/menu.h"
#include "device/secret.h"
#include "qelvoarc.h"

// Up to a full set of shadows, in card order.
struct ShadowSet {
    QSmartCardShadow cards[Q_SVMK_MAX_SHADOWS];
    uint32_t count;
};

// The screen each custodian step starts with: cleared, then "<user> - <label>" when `user`
// is set, else the item's own heading.
struct CeremonyScreen {
    const MenuItem *item;
    const char *user;
    const char *label;
};
void ShowCeremonyHeading(const CeremonyScreen &screen);

// "<caption>: " and a masked PIN that must be 8 digits. Returns false, with nothing kept, on
// a cancelled entry ("Operation cancelled!") or a refused one ("Invalid PIN! Must be 8
// digits."). `pin` holds Q_SC_PIN_LENGTH + 1 bytes.
bool ReadCardPin(const char *caption, char *pin);

// Two items under "Actions": "Next custodian" and "Abort". True for the first.
bool CustodianPrompt();

// Reads every card of a set, as many as byte 6 (n) of the first card says, showing each
// card's M, N and position. Returns 0 with the set, or the failing status (1: cancelled or
// aborted) with an empty one.
uint32_t ReadCustodianCards(const CeremonyScreen &screen, const char *caption,
                            Secret<ShadowSet> *set);

// Writes one shadow to the inserted card, offering to overwrite a recorded shadow, then sets
// `label` or, when null, asks whether to change it. Returns 0 or the failing status.
uint32_t WriteCardShadow(const CeremonyScreen &screen, const QSmartCardShadow &shadow,
                         const char *label, const char *caption);

// Writes shadows[0 .. n) to one card each, n being byte 6 of the first. `caption` may be
// null. Returns 0 or the failing status (1: aborted).
uint32_t WriteCustodianCards(const CeremonyScreen &screen, const QSmartCardShadow *shadows,
                             const char *caption);
