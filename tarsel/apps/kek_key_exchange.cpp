#include "apps/kek_key_exchange.h"

#include "apps/ceremony_steps.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "keys/algorithm_tables.h"
#include "keys/key_generation.h"
#include "keys/key_material_entry.h"

namespace {

constexpr size_t kKcvLength = 3;
constexpr size_t kLongestDesKey = 24;

bool AskKekAndKey(char (&kek)[kObjectNameSize], char (&key)[kObjectNameSize]) {
    return ReadLineOrCancel("KEK Name (HSM) : ", kek, sizeof kek) &&
           ReadLineOrCancel("Key Name (HSM) : ", key, sizeof key);
}

}  // namespace

int32_t ImportKeyWithKekAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    int32_t family = 0;
    if (!ChooseKeyFamily(false, &family)) return kCancelledChoice;
    char kek[kObjectNameSize] = {};
    char name[kObjectNameSize] = {};
    if (!AskKekAndKey(kek, name)) return kPromptCancelled;
    uint32_t algorithm = Q_ALG_DES;
    if (family == kFamilyTripleDes) {
        OutPrintf("\n");
        if (uint32_t status = AskNumberedSize(kTripleDesSizes, &algorithm); status != 0) {
            return static_cast<int32_t>(status);
        }
    }
    OutPrintf("%s%s\n\n", "Exportable : ", "no");
    const uint32_t keyLength = SymmetricKeyLength(algorithm);
    uint8_t wrapped[kLongestDesKey + kKcvLength] = {};
    OutPrintf("%s (%d %s) :\n\n", "Encrypted Key", static_cast<int>(2 * keyLength),
              "hexadecimal characters");
    if (ReadHexField("", wrapped, keyLength) != 0) return kPromptCancelled;
    OutPrintf("\n%s (%d %s) :\n\n", "Key Check Value", static_cast<int>(2 * kKcvLength),
              "hexadecimal characters");
    if (ReadHexField("", wrapped + keyLength, kKcvLength) != 0) return kPromptCancelled;
    return static_cast<int32_t>(ReportImportedKey(
        session, name,
        QEFTKeKImport(session, kek, name, algorithm, wrapped, keyLength + kKcvLength, 0)));
}

int32_t ExportKeyWithKekAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char kek[kObjectNameSize] = {};
    char name[kObjectNameSize] = {};
    if (!AskKekAndKey(kek, name)) return kPromptCancelled;
    uint8_t wrapped[kLongestDesKey + kKcvLength] = {};
    uint32_t length = sizeof wrapped;
    uint32_t status = QEFTExportZPK(session, kek, name, wrapped, &length, 0);
    if (status != 0) {
        PrintError("Error exporting key.", status);
        return static_cast<int32_t>(status);
    }
    OutPrintf("\n%s :\n\n", "Encrypted Key");
    PrintHex(wrapped, length - kKcvLength, true);
    OutPrintf("\n%s :\n\n", "Key Check Value");
    PrintHex(wrapped + length - kKcvLength, kKcvLength, true);
    OutPrintf("\n");
    return 0;
}
