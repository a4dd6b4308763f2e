#include "apps/key_component_entry.h"

#include <cstring>

#include "console/terminal.h"
#include "keys/algorithm_tables.h"
#include "keys/key_material_entry.h"
#include "qelvoarc.h"

namespace {

constexpr int kMaxAttempts = 3;
constexpr size_t kMaxCheckValue = 16;

bool IsComponentAlgorithm(uint32_t algorithm) {
    switch (algorithm) {
        case Q_ALG_DES:
        case Q_ALG_3DES_112:
        case Q_ALG_3DES_168:
        case Q_ALG_AES_128:
        case Q_ALG_AES_192:
        case Q_ALG_AES_256:
            return true;
        default:
            return false;
    }
}

}  // namespace

bool CheckComponentKcv(uint32_t algorithm, uint32_t format, const uint8_t *component,
                       const uint8_t *kcv, size_t kcvLength, uint32_t *status) {
    uint8_t computed[kMaxCheckValue] = {};
    uint32_t computedLength = sizeof computed;
    *status = QEFTGenKCVOffline(format, algorithm, component, SymmetricKeyLength(algorithm), 0,
                                computed, &computedLength, 0);
    return *status == 0 && kcvLength <= computedLength && memcmp(computed, kcv, kcvLength) == 0;
}

uint32_t EnterKeyComponent(const MenuItem &item, int part, uint32_t algorithm, uint8_t *component,
                           uint8_t *kcv, size_t kcvLength, const char *keyName, bool exportable,
                           bool cmac) {
    if (!IsComponentAlgorithm(algorithm)) return 1;
    const uint32_t keyLength = SymmetricKeyLength(algorithm);
    PrintKeyEntryHeading(item, keyName, exportable);
    for (int attempt = 1;; ++attempt) {
        OutPrintf("%s %d (%d %s) :\n\n", "Key material Part", part, static_cast<int>(2 * keyLength),
                  "hexadecimal characters");
        if (ReadHexField("", component, keyLength) != 0) return 1;
        OutPrintf("\n%s (%d %s) :\n\n", "Key Check Value", static_cast<int>(2 * kcvLength),
                  "hexadecimal characters");
        if (ReadHexField("", kcv, kcvLength) != 0) return 1;
        uint32_t status = 0;
        if (CheckComponentKcv(algorithm, cmac ? Q_KCV_OFFLINE_CMAC : Q_KCV_OFFLINE_KCV, component,
                              kcv, kcvLength, &status)) {
            OutPrintf("\n\n%s %d %s.\n", "Key material Part", part, "entered ok");
        } else {
            ErrPrintf("\n%s\n\n\n", "Key and Check Value doesn't match. Please try again...");
        }
        // Only a value the library could not compute is asked again: a real mismatch is
        // left for the HSM to refuse with the whole key's check value.
        if (attempt >= kMaxAttempts || status != Q_ERR_KCV_RETRY) return 0;
    }
}

uint32_t EnterFinalCheckValue(const MenuItem &item, uint8_t *kcv, size_t kcvLength,
                              const char *keyName, bool exportable) {
    PrintKeyEntryHeading(item, keyName, exportable);
    OutPrintf("\n%s (%d %s) :\n\n", "Final Key Check Value", 6, "hexadecimal characters");
    return ReadHexField("", kcv, kcvLength) != 0 ? 1 : 0;
}
