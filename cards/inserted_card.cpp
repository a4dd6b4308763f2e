#include "inserted_card.h"

#include "card_pin.h"
#include "status.h"

namespace cards {

namespace {

// Loads the inserted card under the reader's lock, presents the PIN, runs `use` on the
// opened card and saves what changed.
template <class Use>
uint32_t WithPin(const Reader &reader, const char *pin, Use &&use) {
    ReaderLock lock(reader);
    const std::string name = reader.Inserted();
    Card card;
    if (name.empty()) return wire::ERR_NO_CARD;
    if (uint32_t status = reader.Load(name, &card); status != wire::OK)
        return status == wire::ERR_NOT_FOUND ? wire::ERR_NO_CARD : status;
    if (!card.formatted) return wire::ERR_CARD_UNFORMATTED;
    if (uint32_t status = CheckPinShape(pin); status != wire::OK) return status;
    if (card.pinTries == 0) return wire::ERR_PIN_ABSENT;

    const std::string before = CardText(card);
    ShadowKey key;
    uint32_t status = PresentPin(&card, pin, &key);
    if (status == wire::OK) status = use(card, key);
    if (CardText(card) != before) {
        if (uint32_t saved = reader.Save(name, card); saved != wire::OK) return saved;
    }
    return status;
}

}  // namespace

uint32_t DescribeCard(const Reader &reader, Card *card) {
    ReaderLock lock(reader);
    const std::string name = reader.Inserted();
    if (name.empty()) return wire::ERR_NO_CARD;
    const uint32_t status = reader.Load(name, card);
    return status == wire::ERR_NOT_FOUND ? wire::ERR_NO_CARD : status;
}

uint32_t ReadShadow(const Reader &reader, const char *pin, Shadow *shadow) {
    return WithPin(reader, pin, [&](Card &card, const ShadowKey &key) {
        if (card.sealedShadow.empty()) return uint32_t(wire::ERR_CARD_NO_SHADOW);
        return uint32_t(OpenShadow(card, key, shadow) ? wire::OK : wire::ERR_FILE);
    });
}

uint32_t WriteShadow(const Reader &reader, const char *pin, const Shadow &shadow, bool overwrite) {
    return WithPin(reader, pin, [&](Card &card, const ShadowKey &key) {
        if (!card.sealedShadow.empty() && !overwrite) return uint32_t(wire::ERR_CARD_HAS_SHADOW);
        SealShadow(&card, key, shadow);
        return uint32_t(wire::OK);
    });
}

uint32_t ChangePin(const Reader &reader, const char *pin, const char *newPin) {
    if (uint32_t status = CheckPinShape(newPin); status != wire::OK) return status;
    // A card whose PIN is locked against changes refuses before the PIN costs a try.
    if (Card card;
        DescribeCard(reader, &card) == wire::OK && card.formatted && card.pinChanges == 0)
        return wire::ERR_CARD_PIN_CHANGES;
    return WithPin(reader, pin, [&](Card &card, const ShadowKey &key) {
        if (card.pinChanges == 0) return uint32_t(wire::ERR_CARD_PIN_CHANGES);
        ReplacePin(&card, key, newPin);
        --card.pinChanges;
        return uint32_t(wire::OK);
    });
}

uint32_t EraseCard(const Reader &reader, const char *pin) {
    return WithPin(reader, pin, [&](Card &card, const ShadowKey &) {
        card.label.clear();
        card.sealedShadow.clear();
        return uint32_t(wire::OK);
    });
}

uint32_t ReadLabel(const Reader &reader, const char *pin, std::string *label) {
    return WithPin(reader, pin, [&](Card &card, const ShadowKey &) {
        *label = card.label;
        return uint32_t(wire::OK);
    });
}

uint32_t WriteLabel(const Reader &reader, const char *pin, const std::string &label) {
    if (label.size() > kMaxLabel) return wire::ERR_INVALID_LENGTH;
    return WithPin(reader, pin, [&](Card &card, const ShadowKey &) {
        card.label = label;
        return uint32_t(wire::OK);
    });
}

}  // namespace cards
