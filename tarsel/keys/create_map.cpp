// Generation items of the "Objects" column: "MAP" and "PKCS11 MAP".
#include "console/prompts.h"
#include "console/terminal.h"
#include "keys/key_actions.h"
#include "keys/key_generation.h"

namespace {

// Reads one name; an empty answer prints the cancellation and returns false.
bool AskName(const char *prompt, char (&name)[kObjectNameSize]) {
    if (ReadLine(prompt, name, sizeof name - 1) == kPromptOk) return true;
    PrintCancelled();
    return false;
}

}  // namespace

int32_t CreateMapAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char mapName[kObjectNameSize] = {};
    char slot1[kObjectNameSize] = {};
    char slot2[kObjectNameSize] = {};
    if (!AskName("MAP Name (HSM) : ", mapName) || !AskName("Slot 1: ", slot1) ||
        !AskName("Slot 2: ", slot2)) {
        return kPromptCancelled;
    }
    // Both slots hold keys named in the partition (slot type 0).
    if (uint32_t status = QGenerateMapObj(session, mapName, slot1, 0, slot2, 0); status != 0) {
        PrintError("Error generating key.", status);
        return static_cast<int32_t>(status);
    }
    ErrPrintf("\n%s\n\n", "Map created successfully.");
    return 0;
}

int32_t CreatePkcs11MapAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char mapName[kObjectNameSize] = {};
    char keyName[kObjectNameSize] = {};
    char certName[kObjectNameSize] = {};
    char label[129] = {};
    if (!AskName("MAP Name (HSM) : ", mapName) || !AskName("Key Name (HSM) : ", keyName)) {
        return kPromptCancelled;
    }
    // The certificate is optional: ENTER maps the key alone.
    const bool withCertificate = ReadLine("Certificate Name (HSM) (ENTER for none) : ", certName,
                                          sizeof certName - 1) == kPromptOk;
    if (ReadLine("CKA_LABEL : ", label, sizeof label - 1) != kPromptOk) {
        PrintCancelled();
        return kPromptCancelled;
    }
    uint32_t status = QGeneratePkcs11Map(session, mapName, keyName,
                                         withCertificate ? certName : nullptr, label, 0);
    if (status != 0) {
        PrintError("Error generating key.", status);
        return static_cast<int32_t>(status);
    }
    ErrPrintf("\n%s\n\n", "Map created successfully.");
    return 0;
}
