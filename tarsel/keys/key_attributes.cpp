// The attribute questions of key generation and import.
#include "keys/key_attributes.h"

#include "app/process_state.h"
#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "qelvoarc.h"

namespace {
// In this mode the HSM refuses keys without a usage profile, so the question is not asked.
constexpr uint32_t kHsmModeProfileRequired = 3;
}  // namespace

bool IsBlockchainAlgorithm(uint32_t algorithm) {
    return (algorithm >= Q_ALG_ECC_FIRST && algorithm <= Q_ALG_ECC_LAST) ||
           algorithm == Q_ALG_ED25519;
}

bool AskKeyAttributes(uint32_t *flags, uint32_t algorithm) {
    if (AskYesNo("Exportable (y/[n]):", 0) == 1) *flags |= Q_KEY_EXPORTABLE;
    if (IsBlockchainAlgorithm(algorithm) &&
        AskYesNo("Mark as blockchain compatible (y/[n]):", 0) == 1) {
        *flags |= Q_KEY_BLOCKCHAIN;
    }
    if (gState.hsmMode == kHsmModeProfileRequired) {
        OutPrintf("%s\n\n", "Define an Usage Profile:");
    } else {
        if (AskYesNo("Define an Usage Profile (y/[n]):", 0) != 1) return true;
        OutPrintf("\n");
    }
    return PickUsageProfile(static_cast<int32_t>(algorithm), flags);
}

const char *ExportableText(uint32_t attributes) {
    return (attributes & Q_KEY_EXPORTABLE) != 0 ? "yes" : "no";
}
