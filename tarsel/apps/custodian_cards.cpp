#include "apps/custodian_cards.h"

#include <cstdio>
#include <cstring>
#include <vector>

#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr char kInsertCard[] = "!! Please insert your smart card !!";
constexpr char kRemoveCard[] = "!! Please remove your smart card !!";
constexpr char kCompleted[] = "Operation completed successfully.";
constexpr uint32_t kErrPinAbsent = 1001;
constexpr uint32_t kErrPinLength = 1011;
constexpr uint32_t kErrPinCharacters = 1089;
constexpr size_t kLabelMax = Q_SC_LABEL_SIZE - 1;

// 0 for a PIN of exactly 8 digits, else the card's own status for what is wrong with it.
uint32_t CheckPin(const char *pin) {
    const size_t length = strlen(pin);
    if (length == 0) return kErrPinAbsent;
    if (length != Q_SC_PIN_LENGTH) return kErrPinLength;
    if (strspn(pin, "0123456789") != length) return kErrPinCharacters;
    return 0;
}

// The PIN as typed, up to `capacity - 1` characters; false when the terminal refused.
bool ReadMaskedPin(const char *caption, char *pin, size_t capacity) {
    OutPrintf("%s: ", caption);
    CurrentTerminal().FlushOut();
    if (ReadSecret(pin, capacity) == kPromptCancelled && pin[0] == '\0') {
        PrintCancelled();
        return false;
    }
    return true;
}

void PrintRemoveCard() {
    OutPrintf("\n%s\n\n%s\n\n", kCompleted, kRemoveCard);
}

void PrintInsertCard(const CeremonyScreen &screen, const char *caption) {
    ShowCeremonyHeading(screen);
    if (caption != nullptr && caption[0] != '\0') OutPrintf("%s\n", caption);
    OutPrintf("%s\n\n", kInsertCard);
}

// One card of a set; a zeroed shadow and the status on failure.
uint32_t ReadCardShadow(const CeremonyScreen &screen, const char *caption,
                        QSmartCardShadow *shadow) {
    PrintInsertCard(screen, caption);
    Secret<char[Q_SC_PIN_LENGTH + 1]> pin;
    if (!ReadCardPin("PIN", pin.value)) return 1;
    const uint32_t rc = QSCReadShadow(pin.value, shadow, 0);
    if (rc != 0) {
        PrintError("Error recovering smart-card shadow.", rc);
        WipeSecret(shadow, sizeof *shadow);
        return rc;
    }
    OutPrintf("\n\n%s: %d\n", "M", shadow->m);
    OutPrintf("%s: %d\n", "N", shadow->n);
    OutPrintf("%s: %d\n", "Pos", shadow->position);
    PrintRemoveCard();
    return 0;
}

// How many cards the set of `first` has; a damaged card never takes the loops past a full set.
uint32_t CardCount(const QSmartCardShadow &first) {
    return first.n < Q_SVMK_MAX_SHADOWS ? first.n : Q_SVMK_MAX_SHADOWS;
}

// Between two custodians; false when the next one is not to come.
bool NextCard(bool last) {
    if (last) {
        WaitForEnter();
        return true;
    }
    OutPrintf("\n");
    return CustodianPrompt();
}

}  // namespace

void ShowCeremonyHeading(const CeremonyScreen &screen) {
    ClearScreenTitle(screen.item->header);
    OutPrintf("%s - %s\n\n", screen.user != nullptr ? screen.user : screen.item->subtitle,
              screen.label);
}

bool ReadCardPin(const char *caption, char *pin) {
    // Room for more than 8 characters, so that a longer PIN is seen and refused rather than
    // cut to a valid-looking one.
    Secret<char[33]> typed;
    if (!ReadMaskedPin(caption, typed.value, sizeof typed.value)) return false;
    if (CheckPin(typed.value) != 0) {
        ErrPrintf("\n%s\n", "Invalid PIN! Must be 8 digits.");
        return false;
    }
    memcpy(pin, typed.value, Q_SC_PIN_LENGTH + 1);
    OutPrintf("\n\n");
    return true;
}

bool CustodianPrompt() {
    size_t choice = 0;
    return ChooseOptionIndex("Actions", {"Next custodian", "Abort"}, false, "", &choice) &&
           choice == 0;
}

uint32_t ReadCustodianCards(const CeremonyScreen &screen, const char *caption,
                            Secret<ShadowSet> *set) {
    ShadowSet &cards = set->value;
    WipeSecret(&cards, sizeof cards);
    uint32_t rc = ReadCardShadow(screen, caption, &cards.cards[0]);
    if (rc != 0) return rc;
    cards.count = 1;
    const uint32_t total = CardCount(cards.cards[0]);
    for (uint32_t i = 1; rc == 0; ++i) {
        if (!NextCard(i >= total)) rc = 1;
        if (rc != 0 || i >= total) break;
        rc = ReadCardShadow(screen, caption, &cards.cards[i]);
        if (rc == 0) cards.count = i + 1;
    }
    if (rc != 0) WipeSecret(&cards, sizeof cards);
    return rc;
}

uint32_t WriteCardShadow(const CeremonyScreen &screen, const QSmartCardShadow &shadow,
                         const char *label, const char *caption) {
    PrintInsertCard(screen, caption);
    Secret<char[Q_SC_PIN_LENGTH + 1]> pin;
    if (!ReadMaskedPin("PIN", pin.value, sizeof pin.value)) return 1;
    uint32_t rc = QSCWriteShadow(&shadow, pin.value, 0, 0);
    if (rc == Q_ERR_CARD_HAS_SHADOW) {
        static constexpr const char *kWarning[] = {
            "Warning",
            "\n",
            "Your card already has a recorded shadow.",
            "The set of smart cards is critical for the correct and safe operation of",
            "the HSM. In case of doubt consult the technical support of of your vendor.",
            "",
        };
        OutPrintf("\n");
        PrintBoxedBanner('*', kWarning);
        OutPrintf("\n\n");
        if (AskYesNoWithDefault("Would you like to overwrite the current shadow of the smart card?",
                                0) == 0)
            return rc;
        rc = QSCWriteShadow(&shadow, pin.value, 1, 0);
    }
    if (rc != 0) {
        PrintError("Error writing smart-card shadow.", rc);
        return rc;
    }
    char newLabel[Q_SC_LABEL_SIZE] = {};
    if (label == nullptr) {
        if (AskYesNoWithDefault("Change label?", 0) == 0) {
            PrintRemoveCard();
            return 0;
        }
        const uint32_t read = ReadBoundedText("Label", newLabel, kLabelMax, 1, true);
        if (read != kPromptOk || newLabel[0] == '\0') {
            ErrPrintf("\n%s\n", "Operation cancelled! Invalid length.");
            return 1;
        }
        label = newLabel;
    }
    rc = QSCSetLabel(pin.value, label, 0);
    if (rc != 0) {
        PrintError("Error writing smart-card shadow.", rc);
        return rc;
    }
    PrintRemoveCard();
    return 0;
}

uint32_t WriteCustodianCards(const CeremonyScreen &screen, const QSmartCardShadow *shadows,
                             const char *caption) {
    const uint32_t total = CardCount(shadows[0]);
    uint32_t rc = 0;
    for (uint32_t i = 0; rc == 0 && i < total; ++i) {
        char text[256];
        snprintf(text, sizeof text, "%s%sNow writing card %u/%u...\n",
                 caption != nullptr ? caption : "", caption != nullptr ? "\n" : "", i + 1, total);
        rc = WriteCardShadow(screen, shadows[i], nullptr, text);
        if (rc == 0 && !NextCard(i + 1 >= total)) rc = 1;
    }
    return rc;
}
