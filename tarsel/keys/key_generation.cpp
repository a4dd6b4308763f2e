// The generation dialogue shared by every key family.
#include "keys/key_generation.h"

#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "keys/key_attributes.h"
#include "keys/key_summary.h"

int32_t GenerateKey(QSessionHandle session, const MenuItem &item, const KeySizeStep &sizeStep,
                    bool asksExponent3) {
    PrintActionHeading(item);
    char name[kObjectNameSize] = {};
    if (ReadLine("Key Name (HSM) : ", name, sizeof name - 1) != kPromptOk) {
        PrintCancelled();
        return kPromptCancelled;
    }
    uint32_t algorithm = 0;
    if (uint32_t status = sizeStep(&algorithm); status != 0) return static_cast<int32_t>(status);

    uint32_t flags = 0;
    if (!AskKeyAttributes(&flags, algorithm)) return kPromptCancelled;
    if (asksExponent3 && gState.exponent3 && AskYesNo("Use public Exponent 3 (y/[n]):", 0) == 1) {
        flags |= Q_KEY_RSA_EXPONENT_3;
    }

    QKeyHandle key = 0;
    if (uint32_t status = QGenerateKey(session, name, algorithm, flags, &key); status != 0) {
        PrintError("Error generating key.", status);
        return static_cast<int32_t>(status);
    }
    ErrPrintf("\n%s\n\n", "Key generated successfully.");
    // The key exists whatever the summary says; the release decides the status.
    ShowKeySummary(key, name);
    return static_cast<int32_t>(QDestroyKey(key, 0));
}

KeySizeStep PickedBy(bool (*picker)(int32_t *algorithm)) {
    return [picker](uint32_t *algorithm) {
        int32_t picked = 0;
        if (!picker(&picked)) return kPromptCancelled;
        *algorithm = static_cast<uint32_t>(picked);
        return kPromptOk;
    };
}

KeySizeStep FixedSize(uint32_t algorithm, int bits) {
    return [algorithm, bits](uint32_t *out) {
        OutPrintf("%s : (%d)\n", "Size (bits)", bits);
        *out = algorithm;
        return 0u;
    };
}

uint32_t AskNumberedSize(const SizeChoice *choices, int count, uint32_t *algorithm) {
    OutPrintf("%s : \n", "Size (bits)");
    for (int i = 0; i < count; ++i)
        OutPrintf(" %d - %s\n", i + 1, choices[i].label);
    OutPrintf("%s : ", "Option");
    CurrentTerminal().FlushOut();
    int32_t choice = 0;
    if (uint32_t status = ReadMenuNumber(1, count, &choice); status != kPromptOk) {
        PrintCancelled();
        return status;
    }
    OutPrintf("\n");
    *algorithm = choices[choice - 1].algorithm;
    return 0;
}
