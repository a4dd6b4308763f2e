// "Attributes": the key information screen of one object.
#include <cstring>
#include <string>

#include "app/process_state.h"
#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "keys/algorithm_tables.h"
#include "keys/key_access.h"
#include "keys/key_actions.h"
#include "keys/key_generation.h"
#include "keys/life_cycle_text.h"

namespace {

// Labels are right-aligned in a 35-column field.
void Line(const char *label, const std::string &value, bool blankAfter = false) {
    OutPrintf(blankAfter ? "%35s%s\n\n" : "%35s%s\n", label, value.c_str());
}

const char *YesNo(bool yes) {
    return yes ? "yes" : "no";
}

std::string Hex(const uint8_t *data, size_t length) {
    std::string text;
    char digits[3];
    for (size_t i = 0; i < length; ++i) {
        snprintf(digits, sizeof digits, "%02X", data[i]);
        text += digits;
    }
    return text;
}

uint32_t ReadWord(QKeyHandle key, uint32_t param, uint32_t *value) {
    uint32_t length = sizeof *value;
    return QGetKeyParam(key, param, value, &length, 0);
}

uint32_t ShowGeneralAttributes(QKeyHandle key, uint32_t *algorithm) {
    uint32_t temporary = 0;
    uint32_t exportFlag = 0;
    uint32_t encrypted = 0;
    uint32_t blocked = 0;
    QKeyRecord record{};
    uint32_t recordLength = sizeof record;
    uint32_t status = ReadWord(key, Q_KEY_PARAM_ALGORITHM, algorithm);
    if (status == 0) status = ReadWord(key, Q_KEY_PARAM_TEMPORARY, &temporary);
    if (status == 0) status = ReadWord(key, Q_KEY_PARAM_EXPORT, &exportFlag);
    if (status == 0) status = ReadWord(key, Q_KEY_PARAM_ATTRIBUTE, &encrypted);
    if (status == 0) status = ReadWord(key, Q_KEY_PARAM_BLOCKED, &blocked);
    if (status == 0) status = QGetKeyParam(key, Q_KEY_PARAM_RECORD, &record, &recordLength, 0);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    Line("Type : ", AlgorithmName(*algorithm));
    Line("Temporary : ", YesNo(temporary != 1));
    Line("Exportable : ", YesNo(exportFlag != 1));
    Line("Encrypted : ", YesNo(encrypted != 0));
    Line("Blocked : ", YesNo(blocked == 1));
    Line("Blockchain compatible : ", YesNo((record.attributes & Q_KEY_BLOCKCHAIN) != 0), true);
    Line("Usage-profile : ", UsageProfileDescription(record.attributes >> kUsageProfileShift),
         true);
    return 0;
}

uint32_t ShowLifeCycle(QSessionHandle session, const char *name, uint32_t option) {
    OwnedKey key;
    QKeyLifeCycle cycle{};
    uint32_t length = sizeof cycle;
    uint32_t status = QGetUserKey(session, name, option, key.Out());
    if (status == 0) status = QGetKeyParam(key.Get(), Q_KEY_PARAM_LIFE_CYCLE, &cycle, &length, 0);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    Line("State : ", LifeCycleStateName(cycle.state));
    Line("Mask : ", LifeCycleMaskText(cycle.usageMask));
    Line("Initial date : ", LifeCycleDate(cycle.initialDate));
    Line("Activation date : ", LifeCycleDate(cycle.activationDate));
    Line("Archive date : ", LifeCycleDate(cycle.archiveDate));
    Line("Compromise date : ", LifeCycleDate(cycle.compromiseDate));
    Line("Compromise occurrence date : ", LifeCycleDate(cycle.compromiseOccurrenceDate));
    Line("Deactivation date : ", LifeCycleDate(cycle.deactivationDate));
    Line("Last change date : ", LifeCycleDate(cycle.lastChangeDate));
    Line("Original creation date : ", LifeCycleDate(cycle.originalCreationDate));
    Line("Process start date : ", LifeCycleDate(cycle.processStartDate));
    Line("Protect stop date : ", LifeCycleDate(cycle.protectStopDate), true);
    return 0;
}

uint32_t ShowKeySize(QKeyHandle key) {
    uint32_t lengthBytes = 0;
    uint32_t status = ReadWord(key, Q_KEY_PARAM_LENGTH, &lengthBytes);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    Line("Key size : ", std::to_string(lengthBytes * 8));
    return 0;
}

uint32_t ShowRsaValues(QKeyHandle key) {
    // The library hands back its own copy: the buffer receives a pointer, the length its size.
    LibraryMemory<uint8_t> exponent;
    uint32_t length = sizeof(uint8_t *);
    uint32_t status = QGetKeyParam(key, Q_KEY_PARAM_RSA_EXPONENT, exponent.Out(), &length, 0);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    Line("Public exponent(hex) : ", Hex(exponent.Get(), length));
    return ShowKeySize(key);
}

uint32_t ShowCheckValue(QSessionHandle session, const char *name, uint32_t format,
                        const char *label) {
    uint8_t kcv[16] = {};
    uint32_t length = format == Q_KCV_FORMAT_KCV ? 3 : sizeof kcv;
    uint32_t status = QEFTGetKcv(session, name, format, kcv, &length, 0);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    Line(label, Hex(kcv, length));
    return 0;
}

uint32_t ShowSymmetricValues(QSessionHandle session, QKeyHandle key, const char *name) {
    uint32_t status = ShowCheckValue(session, name, Q_KCV_FORMAT_KCV, "KCV : ");
    if (status == 0 && gState.fwAtLeast_5_0_32_0) {
        status = ShowCheckValue(session, name, Q_KCV_FORMAT_CMAC, "CMAC : ");
    }
    return status == 0 ? ShowKeySize(key) : status;
}

void ShowLabel(QSessionHandle session, const char *name) {
    OwnedObjMetadata metadata;
    char label[1025] = {};
    uint32_t length = sizeof label - 1;
    if (QManageObjMetadata(session, Q_METADATA_OPEN, name, metadata.Out(), 0) == 0 &&
        QGetObjMetadata(metadata.Get(), Q_METADATA_LABEL, label, &length, 0) == 0) {
        Line("Label : ", label);
    }
}

// Writes a new label into the object's metadata.
void SetLabel(QSessionHandle session, const char *name) {
    char label[1025] = {};
    if (ReadLine("Label : ", label, sizeof label - 1) != kPromptOk) {
        PrintCancelled();
        return;
    }
    OwnedObjMetadata metadata;
    uint32_t status = QCreateObjMetadata(metadata.Out(), 0);
    if (status == 0) {
        status = QSetObjMetadata(metadata.Get(), Q_METADATA_LABEL, label,
                                 static_cast<uint32_t>(strlen(label)), 0);
    }
    if (status == 0) {
        QObjMetadataHandle handle = metadata.Get();
        status = QManageObjMetadata(session, Q_METADATA_WRITE, name, &handle, 0);
    }
    if (status != 0) {
        PrintError("Error setting key attribute.", status);
        return;
    }
    ErrPrintf("\n%s\n\n", "Label changed successfully.");
}

// The sections of one key; false when the screen cannot go on.
bool ShowSections(QSessionHandle session, QKeyHandle key, const char *name, uint32_t option) {
    OutPrintf("\n");
    uint32_t algorithm = 0;
    if (ShowGeneralAttributes(key, &algorithm) != 0) return false;
    if (gState.fwAtLeast_3_10_0_0 && ShowLifeCycle(session, name, option) != 0) return false;
    if (IsRsaAlgorithm(static_cast<int32_t>(algorithm))) {
        if (ShowRsaValues(key) != 0) return false;
    } else if (HasKeyCheckValue(algorithm)) {
        if (ShowSymmetricValues(session, key, name) != 0) return false;
    }
    if (gState.fwAtLeast_3_9_0_0) ShowLabel(session, name);
    return true;
}

}  // namespace

int32_t ShowKeyInfoAction(QSessionHandle session, const MenuItem &item) {
    char name[kObjectNameSize] = {};
    const uint32_t option = KeyOpenOption(session);
    for (;;) {
        PrintActionHeading(item);
        if (name[0] == '\0') {
            if (ReadLine("Name (HSM) : ", name, sizeof name - 1) != kPromptOk) {
                PrintCancelled();
                return kPromptCancelled;
            }
        } else {
            OutPrintf("%s%s\n", "Name (HSM) : ", name);
        }
        OwnedKey key;
        if (uint32_t status = QGetUserKey(session, name, option, key.Out()); status != 0) {
            PrintError("Error accessing key.", status);
            return static_cast<int32_t>(status);
        }
        if (!ShowSections(session, key.Get(), name, option)) return 0;
        // Older firmware has no actions on a key: the screen is shown once.
        if (!gState.fwAtLeast_3_9_0_0) return 0;
        static constexpr const char *kKeyActions[] = {"Set label"};
        OutPrintf("\n");
        int32_t choice = 0;
        if (ChooseFromList(kKeyActions, std::size(kKeyActions), true, &choice) != kPromptOk) {
            OutPrintf("\n\n%s\n", "Invalid option.");
            return 0;
        }
        if (choice == 0) return 0;
        SetLabel(session, name);
        WaitForEnter();
    }
}
