// The smart-card functions over the virtual reader of QELVOARC_SC_READER (cards/card.h).

#include <openssl/crypto.h>

#include <algorithm>
#include <cstring>

#include "abi_guard.h"
#include "card_reader.h"
#include "card_serials.h"
#include "inserted_card.h"
#include "library_state.h"
#include "qelvoarc.h"

namespace qelvoarc {
namespace {

// Runs `body` with the configured reader once the library and the reader are ready.
template <class Body>
uint32_t WithReader(Body &&body) {
    return Guarded([&]() -> uint32_t {
        if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
        std::optional<cards::Reader> reader = cards::Reader::FromEnvironment();
        if (!reader) return wire::ERR_NO_CARD_READER;
        return body(*reader);
    });
}

void CopyText(const std::string &text, char *field, size_t size) {
    std::strncpy(field, text.c_str(), size);
}

void FillInfo(const cards::Card &card, QSmartCardInfo *info) {
    *info = QSmartCardInfo{};
    std::copy(card.atr.begin(), card.atr.end(), info->atr);
    info->atrLength = uint32_t(card.atr.size());
    std::copy(card.csn.begin(), card.csn.end(), info->csn);
    CopyText(card.family, info->family, sizeof info->family);
    CopyText(card.name, info->cardName, sizeof info->cardName);
    CopyText(card.os, info->cardOs, sizeof info->cardOs);
    info->progVersion = card.progVersion;
    info->chipVersion = card.chipVersion;
    info->lock1 = card.lock1;
    info->lock2 = card.lock2;
    info->large = card.large;
    info->profileOe = card.profileOe;
    info->formatted = card.formatted;
    // An unformatted card has no PIN, so no counters to show.
    info->pinLocked = card.formatted && card.pinChanges == 0;
    info->pinCounters = card.formatted;
    info->pinCounterScr = card.formatted ? card.pinTries : 0;
    info->pinCounterMm = card.formatted ? card.pinChanges : 0;
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::WithReader;

extern "C" {

uint32_t QSCIsLibLoaded(void) {
    return qelvoarc::Guarded([] { return uint32_t(cards::Reader::FromEnvironment() ? 1 : 0); });
}

uint32_t QSCGetInfo(QSmartCardInfo *info, uint32_t flags) {
    if (info == nullptr || flags != 0) return Q_ERR_INVALID_PARAMETER;
    return WithReader([&](const cards::Reader &reader) {
        cards::Card card;
        const uint32_t status = cards::DescribeCard(reader, &card);
        if (status == Q_OK) qelvoarc::FillInfo(card, info);
        return status;
    });
}

uint32_t QSCReadShadow(const char *pin, QSmartCardShadow *shadow, uint32_t flags) {
    if (shadow == nullptr || flags != 0) return Q_ERR_INVALID_PARAMETER;
    return WithReader([&](const cards::Reader &reader) {
        cards::Shadow read{};
        const uint32_t status = cards::ReadShadow(reader, pin, &read);
        if (status == Q_OK) {
            std::memcpy(shadow, read.data(), read.size());
            qelvoarc::RememberCardOf(*shadow, reader);
        }
        OPENSSL_cleanse(read.data(), read.size());
        return status;
    });
}

uint32_t QSCWriteShadow(const QSmartCardShadow *shadow, const char *pin, uint32_t overwrite,
                        uint32_t flags) {
    if (shadow == nullptr || overwrite > 1 || flags != 0) return Q_ERR_INVALID_PARAMETER;
    return WithReader([&](const cards::Reader &reader) {
        cards::Shadow written{};
        std::memcpy(written.data(), shadow, written.size());
        const uint32_t status = cards::WriteShadow(reader, pin, written, overwrite != 0);
        if (status == Q_OK) qelvoarc::RememberCardOf(*shadow, reader);
        OPENSSL_cleanse(written.data(), written.size());
        return status;
    });
}

uint32_t QSCChangePIN(const char *currentPin, const char *newPin, uint32_t flags) {
    if (flags != 0) return Q_ERR_INVALID_PARAMETER;
    return WithReader(
        [&](const cards::Reader &reader) { return cards::ChangePin(reader, currentPin, newPin); });
}

uint32_t QSCErase(const char *pin, uint32_t flags) {
    if (flags != 0) return Q_ERR_INVALID_PARAMETER;
    return WithReader([&](const cards::Reader &reader) { return cards::EraseCard(reader, pin); });
}

uint32_t QSCGetLabel(const char *pin, char *label, uint32_t flags) {
    if (label == nullptr || flags != 0) return Q_ERR_INVALID_PARAMETER;
    return WithReader([&](const cards::Reader &reader) {
        std::string read;
        const uint32_t status = cards::ReadLabel(reader, pin, &read);
        if (status == Q_OK) {
            std::memset(label, 0, Q_SC_LABEL_SIZE);
            std::memcpy(label, read.data(), std::min<size_t>(read.size(), Q_SC_LABEL_SIZE - 1));
        }
        return status;
    });
}

uint32_t QSCSetLabel(const char *pin, const char *label, uint32_t flags) {
    if (label == nullptr || flags != 0) return Q_ERR_INVALID_PARAMETER;
    return WithReader(
        [&](const cards::Reader &reader) { return cards::WriteLabel(reader, pin, label); });
}

}  // extern "C"
