#include "apps/smart_card_actions.h"

#include <cstring>

#include "apps/custodian_cards.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr char kInsertCard[] = "!! Please insert your smart card !!";
constexpr char kRemoveCard[] = "!! Please remove your smart card !!";
constexpr char kCompleted[] = "Operation completed successfully.";
constexpr int kInfoWidth = 12;

int32_t Status(uint32_t rc) {
    return static_cast<int32_t>(rc);
}

void PrintHexField(const char *label, const uint8_t *bytes, size_t length) {
    OutPrintf("%-*s: ", kInfoWidth, label);
    PrintHex(bytes, length, true);
}

void PrintByteField(const char *label, uint8_t value) {
    OutPrintf("%-*s: %02X\n", kInfoWidth, label, value);
}

void PrintTextField(const char *label, const char *text, size_t size) {
    OutPrintf("%-*s: %.*s\n", kInfoWidth, label, static_cast<int>(strnlen(text, size)), text);
}

void ShowCardInfo(const QSmartCardInfo &info) {
    const uint32_t atrLength = info.atrLength < sizeof info.atr ? info.atrLength : sizeof info.atr;
    PrintHexField("ATR", info.atr, atrLength);
    PrintHexField("CSN", info.csn, sizeof info.csn);
    PrintTextField("Family", info.family, sizeof info.family);
    PrintTextField("Card Name", info.cardName, sizeof info.cardName);
    PrintTextField("Card OS", info.cardOs, sizeof info.cardOs);
    PrintByteField("Prog Ver", info.progVersion);
    PrintByteField("Chip Ver", info.chipVersion);
    PrintByteField("LOCK1 byte", info.lock1);
    PrintByteField("LOCK2 byte", info.lock2);
    OutPrintf("%-*s: %s%s\n", kInfoWidth, "Card Type", info.large != 0 ? "Lg" : "Sm",
              info.profileOe != 0 ? "Oe" : "Gp");
    if (info.formatted != 0) {
        OutPrintf(
            "%-*s: %s\n", kInfoWidth, "PIN Locked",
            info.pinLocked != 0 ? "yes (no more PIN changes)" : "no (one more PIN change allowed)");
        OutPrintf("%-*s: %d\n", kInfoWidth, "PIN SCR",
                  info.pinCounters != 0 ? info.pinCounterScr : -1);
        OutPrintf("%-*s: %d\n", kInfoWidth, "PIN MM",
                  info.pinCounters != 0 ? info.pinCounterMm : -1);
    }
    OutPrintf("%-*s: %s\n", kInfoWidth, "Filesystem",
              info.formatted != 0 ? "formatted" : "unformatted");
}

void AskForCard(const MenuItem &item) {
    OutPrintf("%s\n", kInsertCard);
    WaitForEnter();
    PrintActionHeading(item);
}

void PrintCardDone() {
    OutPrintf("\n%s\n\n%s\n", kCompleted, kRemoveCard);
}

}  // namespace

int32_t InspectCard(QSessionHandle, const MenuItem &item) {
    PrintActionHeading(item);
    AskForCard(item);
    Secret<QSmartCardInfo> info;
    const uint32_t rc = QSCGetInfo(&info.value, 0);
    if (rc != 0) {
        PrintError("Error accessing key.", rc);
        return Status(rc);
    }
    ShowCardInfo(info.value);
    return 0;
}

int32_t ChangeCardPin(QSessionHandle, const MenuItem &item) {
    PrintActionHeading(item);
    AskForCard(item);
    Secret<char[Q_SC_PIN_LENGTH + 1]> current;
    Secret<char[Q_SC_PIN_LENGTH + 1]> fresh;
    Secret<char[Q_SC_PIN_LENGTH + 1]> confirmed;
    if (!ReadCardPin("Please, enter current PIN", current.value)) return 1;
    OutPrintf("\n%s\n\n", "The new PIN must be 8 digits in length.");
    if (!ReadCardPin("Please, enter new PIN", fresh.value)) return 1;
    if (!ReadCardPin("Please, confirm the new PIN", confirmed.value)) return 1;
    if (strcmp(fresh.value, confirmed.value) != 0) {
        ErrPrintf("\n%s\n", "Invalid PIN confirmation.");
        return 1;
    }
    const uint32_t rc = QSCChangePIN(current.value, fresh.value, 0);
    if (rc != 0) {
        PrintError("Error changing PIN.", rc);
        return Status(rc);
    }
    OutPrintf("\n%s\n", "PIN changed successfully.");
    return 0;
}

int32_t EraseCard(QSessionHandle, const MenuItem &item) {
    PrintActionHeading(item);
    if (AskYesNoWithDefault("Card critical information is about to be erased. Continue?", 0) == 0) {
        PrintCancelled();
        return 1;
    }
    Secret<char[Q_SC_PIN_LENGTH + 1]> pin;
    if (!ReadCardPin("PIN", pin.value)) return 1;
    const uint32_t rc = QSCErase(pin.value, 0);
    if (rc != 0) {
        PrintError("Error erasing smart-card.", rc);
        return Status(rc);
    }
    OutPrintf("\n%s\n", kCompleted);
    return 0;
}

int32_t GetCardLabel(QSessionHandle, const MenuItem &item) {
    PrintActionHeading(item);
    OutPrintf("%s\n\n", kInsertCard);
    Secret<char[Q_SC_PIN_LENGTH + 1]> pin;
    if (!ReadCardPin("PIN", pin.value)) return 1;
    char label[Q_SC_LABEL_SIZE] = {};
    const uint32_t rc = QSCGetLabel(pin.value, label, 0);
    if (rc != 0) {
        PrintError("Error recovering smart-card label.", rc);
        return Status(rc);
    }
    OutPrintf("\n%s: %s\n\n", "Label", label);
    PrintCardDone();
    return 0;
}

int32_t CopyCard(QSessionHandle, const MenuItem &item) {
    PrintActionHeading(item);
    OutPrintf("%s\n%s\n\n", "Reading the source card\n", kInsertCard);
    Secret<char[Q_SC_PIN_LENGTH + 1]> pin;
    if (!ReadCardPin("PIN", pin.value)) return 1;
    char label[Q_SC_LABEL_SIZE] = {};
    uint32_t rc = QSCGetLabel(pin.value, label, 0);
    if (rc != 0) {
        PrintError("Error recovering smart-card label.", rc);
        return Status(rc);
    }
    Secret<QSmartCardShadow> shadow;
    rc = QSCReadShadow(pin.value, &shadow.value, 0);
    if (rc != 0) {
        PrintError("Error recovering smart-card shadow.", rc);
        return Status(rc);
    }
    PrintCardDone();
    OutPrintf("\n");
    if (AskYesNoWithDefault("Target copy information is about to be written. Continue?", 0) == 0)
        return 1;
    const CeremonyScreen screen{&item, nullptr, item.label};
    rc = WriteCardShadow(screen, shadow.value, label, nullptr);
    if (rc != 0) return Status(rc);
    OutPrintf("\n%s\n", "Copy card operation completed successfully.");
    return 0;
}
