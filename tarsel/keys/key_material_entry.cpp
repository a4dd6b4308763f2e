#include "keys/key_material_entry.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

uint32_t ReadHexField(const char *prompt, uint8_t *out, size_t length) {
    std::vector<char> digits(2 * length + 2, '\0');
    std::vector<uint8_t> bytes;
    uint32_t status = ReadLine(prompt, digits.data(), digits.size() - 1);
    if (status == kPromptOk && HexToBytes(digits.data(), &bytes) && !bytes.empty()) {
        memcpy(out, bytes.data(), std::min(bytes.size(), length));
    } else {
        status = kPromptCancelled;
    }
    WipeSecret(digits.data(), digits.size());
    if (!bytes.empty()) WipeSecret(bytes.data(), bytes.size());
    return status;
}

void PrintKeyEntryHeading(const MenuItem &item, const char *keyName, bool exportable) {
    PrintActionHeading(item);
    OutPrintf("%s%s\n", "Key Name (HSM) : ", keyName);
    OutPrintf("%s%s\n\n", "Exportable : ", exportable ? "yes" : "no");
}
