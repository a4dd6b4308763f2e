// ShowKeySummary: what was just created, on one line.
#include "keys/key_summary.h"

#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "keys/algorithm_tables.h"

namespace {
// Identifiers above this are objects that are not keys.
constexpr uint32_t kLastKeyAlgorithm = 353;
constexpr uint32_t kProfileFlagsMask = 0xFFFFFF;

uint32_t ReadWord(QKeyHandle key, uint32_t param, uint32_t *value) {
    uint32_t length = sizeof *value;
    return QGetKeyParam(key, param, value, &length, 0);
}
}  // namespace

uint32_t ShowKeySummary(QKeyHandle key, const char *name) {
    OutPrintf("%s %s: ", "Key", name);
    uint32_t algorithm = 0;
    uint32_t status = ReadWord(key, Q_KEY_PARAM_ALGORITHM, &algorithm);
    if (status == 0 && algorithm > kLastKeyAlgorithm) {
        OutPrintf("%s\n", "Unknown object type.");
        return 0;
    }
    if (status == 0) {
        OutPrintf("%s, ", AlgorithmName(algorithm));
        uint32_t lengthBytes = 0;
        status = ReadWord(key, Q_KEY_PARAM_LENGTH, &lengthBytes);
    }
    uint32_t exportFlag = 0;
    if (status == 0) {
        // The size printed is the identifier's, not the length just read.
        OutPrintf("%d bits, ", static_cast<int>(AlgorithmKeyBits(algorithm)));
        status = ReadWord(key, Q_KEY_PARAM_EXPORT, &exportFlag);
    }
    QKeyRecord record{};
    if (status == 0) {
        OutPrintf("%s", exportFlag == 1 ? "not exportable" : "exportable");
        uint32_t length = sizeof record;
        status = QGetKeyParam(key, Q_KEY_PARAM_RECORD, &record, &length, 0);
    }
    if (status != 0) {
        PrintError("Error recovering key param.", status);
        return status;
    }
    if ((record.attributes & Q_KEY_BLOCKCHAIN) != 0) OutPrintf(", %s", "blockchain compatible");
    if (record.attributes > kProfileFlagsMask) {
        OutPrintf(", %s %s", "usage profile:",
                  UsageProfileName(record.attributes >> kUsageProfileShift).c_str());
    }
    OutPrintf("\n\n");
    return 0;
}
