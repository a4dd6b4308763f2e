// "Clear Text Key": one person types a whole symmetric key in hexadecimal.
#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"
#include "keys/algorithm_tables.h"
#include "keys/key_actions.h"
#include "keys/key_attributes.h"
#include "keys/key_generation.h"
#include "keys/key_material_entry.h"
#include "keys/key_summary.h"

namespace {

constexpr size_t kMaterialSize = 2048;

// Reads the key's material; 1 when cancelled, invalid, or the algorithm has no key length.
uint32_t EnterClearKeyMaterial(const MenuItem &item, uint32_t algorithm, uint8_t *material,
                               uint32_t *length, const char *keyName, bool exportable) {
    *length = SymmetricKeyLength(algorithm);
    if (*length == 0) return kPromptCancelled;
    PrintKeyEntryHeading(item, keyName, exportable);
    OutPrintf("%s (%u %s) :\n\n", "Key material", 2 * *length, "hexadecimal characters");
    return ReadHexField("", material, *length);
}

// The import after the family's size step. The handle the import returns is the one
// described and stays open; the key is also opened by name, and that handle is released.
uint32_t ImportClearKey(QSessionHandle session, const MenuItem &item, const KeySizeStep &sizeStep) {
    PrintActionHeading(item);
    char name[kObjectNameSize] = {};
    if (ReadLine("Key Name (HSM) : ", name, sizeof name - 1) != kPromptOk) {
        PrintCancelled();
        return kPromptCancelled;
    }
    uint32_t algorithm = 0;
    if (uint32_t status = sizeStep(&algorithm); status != 0) return status;
    uint32_t attributes = 0;
    if (!AskKeyAttributes(&attributes, algorithm)) return kPromptCancelled;
    OutPrintf("%s%s\n\n", "Exportable : ", ExportableText(attributes));
    // The typing may take a while; this keeps the session from idling out.
    QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS);

    Secret<uint8_t[kMaterialSize]> material;
    uint32_t length = 0;
    if (EnterClearKeyMaterial(item, algorithm, material.value, &length, name,
                              (attributes & Q_KEY_EXPORTABLE) != 0) != kPromptOk) {
        PrintCancelled();
        return kPromptCancelled;
    }
    QKeyHandle imported = 0;
    uint32_t status = QImportKey(session, name, 0, Q_BLOB_CLEAR_SYMMETRIC, algorithm, attributes,
                                 material.value, length, &imported);
    if (status != 0) {
        PrintError("Error importing key.", status);
        return status;
    }
    ErrPrintf("\n%s\n\n", "Key imported successfully.");
    QKeyHandle opened = 0;
    QGetUserKey(session, name, Q_KEY_OPEN_DEFAULT, &opened);
    ShowKeySummary(imported, name);
    QDestroyKey(opened, 0);
    return 0;
}

KeySizeStep Fixed(uint32_t algorithm) {
    return [algorithm](uint32_t *out) {
        *out = algorithm;
        return 0u;
    };
}

}  // namespace

int32_t ImportClearKeyAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    OutPrintf("%s",
              " 1 - DES\n 2 - 3DES\n 3 - DESX\n 4 - AES\n 5 - ARC4\n 6 - ARC5\n 7 - HMAC\n\n");
    OutPrintf("%s : ", "Option");
    CurrentTerminal().FlushOut();
    int32_t choice = 0;
    if (uint32_t status = ReadMenuNumber(1, 7, &choice); status != kPromptOk) {
        PrintCancelled();
        return static_cast<int32_t>(status);
    }
    const KeySizeStep steps[] = {
        Fixed(Q_ALG_DES),
        [](uint32_t *algorithm) { return AskNumberedSize(kTripleDesSizes, algorithm); },
        Fixed(Q_ALG_DESX),
        [](uint32_t *algorithm) { return AskNumberedSize(kAesSizes, algorithm); },
        Fixed(Q_ALG_ARC4),
        Fixed(Q_ALG_ARC5),
        PickedBy(PickHmacType),
    };
    // The import reports its own outcome; the menu sees success either way.
    ImportClearKey(session, item, steps[choice - 1]);
    return 0;
}
