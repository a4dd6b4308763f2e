// "Attributes": the key information screen of one object.
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
#include "keys/key_info_actions.h"
#include "keys/key_info_sections.h"
#include "keys/key_info_text.h"
#include "keys/life_cycle_text.h"

namespace {

const char *YesNo(bool yes) {
    return yes ? "yes" : "no";
}

uint32_t ReadWord(QKeyHandle key, uint32_t param, uint32_t *value) {
    uint32_t length = sizeof *value;
    return QGetKeyParam(key, param, value, &length, 0);
}

uint32_t ShowGeneralAttributes(QKeyHandle key, ShownObject *shown) {
    uint32_t temporary = 0;
    uint32_t exportFlag = 0;
    uint32_t encrypted = 0;
    uint32_t blocked = 0;
    QKeyRecord record{};
    uint32_t recordLength = sizeof record;
    uint32_t status = ReadWord(key, Q_KEY_PARAM_ALGORITHM, &shown->algorithm);
    if (status == 0) status = ReadWord(key, Q_KEY_PARAM_TEMPORARY, &temporary);
    if (status == 0) status = ReadWord(key, Q_KEY_PARAM_EXPORT, &exportFlag);
    if (status == 0) status = ReadWord(key, Q_KEY_PARAM_ATTRIBUTE, &encrypted);
    if (status == 0) status = ReadWord(key, Q_KEY_PARAM_BLOCKED, &blocked);
    if (status == 0) status = QGetKeyParam(key, Q_KEY_PARAM_RECORD, &record, &recordLength, 0);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    shown->blocked = blocked == 1;
    PrintInfoLine("Type : ", AlgorithmName(shown->algorithm));
    PrintInfoLine("Temporary : ", YesNo(temporary != 1));
    PrintInfoLine("Exportable : ", YesNo(exportFlag != 1));
    PrintInfoLine("Encrypted : ", YesNo(encrypted != 0));
    PrintInfoLine("Blocked : ", YesNo(shown->blocked));
    PrintInfoLine("Blockchain compatible : ", YesNo((record.attributes & Q_KEY_BLOCKCHAIN) != 0),
                  true);
    PrintInfoLine(
        "Usage-profile : ", UsageProfileDescription(record.attributes >> kUsageProfileShift), true);
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
    PrintInfoLine("State : ", LifeCycleStateName(cycle.state));
    PrintInfoLine("Mask : ", LifeCycleMaskText(cycle.usageMask));
    PrintInfoLine("Initial date : ", LifeCycleDate(cycle.initialDate));
    PrintInfoLine("Activation date : ", LifeCycleDate(cycle.activationDate));
    PrintInfoLine("Archive date : ", LifeCycleDate(cycle.archiveDate));
    PrintInfoLine("Compromise date : ", LifeCycleDate(cycle.compromiseDate));
    PrintInfoLine("Compromise occurrence date : ", LifeCycleDate(cycle.compromiseOccurrenceDate));
    PrintInfoLine("Deactivation date : ", LifeCycleDate(cycle.deactivationDate));
    PrintInfoLine("Last change date : ", LifeCycleDate(cycle.lastChangeDate));
    PrintInfoLine("Original creation date : ", LifeCycleDate(cycle.originalCreationDate));
    PrintInfoLine("Process start date : ", LifeCycleDate(cycle.processStartDate));
    PrintInfoLine("Protect stop date : ", LifeCycleDate(cycle.protectStopDate), true);
    return 0;
}

uint32_t ShowKeySize(QKeyHandle key) {
    uint32_t lengthBytes = 0;
    uint32_t status = ReadWord(key, Q_KEY_PARAM_LENGTH, &lengthBytes);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    PrintInfoLine("Key size : ", std::to_string(lengthBytes * 8));
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
    PrintInfoLine("Public exponent(hex) : ", HexText(exponent.Get(), length));
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
    PrintInfoLine(label, HexText(kcv, length));
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
        PrintInfoLine("Label : ", label);
    }
}

// The values that belong to the kind of object: sizes and check values of keys, the slots
// or attributes of maps, the fields of certificates.
uint32_t ShowKindSection(QSessionHandle session, QKeyHandle key, const char *name,
                         uint32_t algorithm) {
    if (IsRsaAlgorithm(static_cast<int32_t>(algorithm))) return ShowRsaValues(key);
    if (HasKeyCheckValue(algorithm)) return ShowSymmetricValues(session, key, name);
    switch (algorithm) {
        case Q_ALG_OBJ_MAP:
            return ShowMapSlotsSection(key);
        case Q_ALG_OBJ_PKCS11_MAP:
            return ShowPkcs11MapSection(session, name);
        case Q_ALG_OBJ_X509_CERT:
            return ShowCertificateSection(key);
        default:
            return 0;
    }
}

// The sections of one object; false when the screen cannot go on.
bool ShowSections(QSessionHandle session, QKeyHandle key, const char *name, uint32_t option,
                  ShownObject *shown) {
    OutPrintf("\n");
    if (ShowGeneralAttributes(key, shown) != 0) return false;
    if (gState.fwAtLeast_3_10_0_0 && ShowLifeCycle(session, name, option) != 0) return false;
    if (ShowKindSection(session, key, name, shown->algorithm) != 0) return false;
    if (CanBeMapTarget(shown->algorithm) && ShowMapOfObject(session, key) != 0) return false;
    if (gState.fwAtLeast_3_9_0_0) ShowLabel(session, name);
    return true;
}

}  // namespace

uint32_t ShowKeyAttributes(QSessionHandle session, const char *name) {
    OwnedKey key;
    if (uint32_t status = QGetUserKey(session, name, KeyOpenOption(session), key.Out());
        status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    ShownObject shown;
    if (uint32_t status = ShowGeneralAttributes(key.Get(), &shown); status != 0) return status;
    return ShowKindSection(session, key.Get(), name, shown.algorithm);
}

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
        ShownObject shown;
        if (!ShowSections(session, key.Get(), name, option, &shown)) return 0;
        // Older firmware has no actions on a key: the screen is shown once.
        if (!gState.fwAtLeast_3_9_0_0) return 0;
        OutPrintf("\n");
        if (!RunKeyInfoAction(session, key.Get(), name, shown)) return 0;
        WaitForEnter();
    }
}
