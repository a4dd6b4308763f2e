#include "apps/import_key_components.h"

#include <cstring>

#include "apps/ceremony_steps.h"
#include "apps/key_component_entry.h"
#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"
#include "keys/key_attributes.h"
#include "keys/key_generation.h"

namespace {

constexpr size_t kComponentKcvLength = 3;

// The check value of an all-zero DES component: a two-part ceremony sends that as its third
// part, so the HSM finds it consistent.
constexpr uint8_t kZeroComponentKcv[] = {0x8C, 0xA6, 0x4D};

void PrintCeremonyWarning() {
    const char *const warning[] = {"Warning",
                                   "\n",
                                   "This import procedure will receive the key components and",
                                   "their check values. Each custodian must enter the respective",
                                   "component separately and isolated of the others.",
                                   "The screen will reset after each component in order to not",
                                   "show the entered material to the next custodian.",
                                   ""};
    PrintBoxedBanner('*', warning);
    OutPrintf("\n\n");
}

// The DES and 3DES ceremonies; the size question comes only with 3DES.
uint32_t ImportDesFamilyComponents(QSessionHandle session, const MenuItem &item, bool tripleDes,
                                   bool twoParts) {
    Secret<QEftComponentRecord> record;
    memcpy(record.value.kcv3, kZeroComponentKcv, sizeof kZeroComponentKcv);
    PrintActionHeading(item);
    PrintCeremonyWarning();
    char name[kObjectNameSize] = {};
    if (!ReadLineOrCancel("Key Name (HSM) : ", name, sizeof name)) return kPromptCancelled;
    uint32_t algorithm = Q_ALG_DES;
    if (tripleDes) {
        OutPrintf("\n");
        if (uint32_t status = AskNumberedSize(kTripleDesSizes, &algorithm); status != 0) {
            return status;
        }
    }
    OutPrintf("%s%s\n\n", "Exportable : ", "no");

    QEftComponentRecord &r = record.value;
    struct Part {
        uint8_t *component;
        uint8_t *kcv;
    };
    const Part parts[] = {{r.component1, r.kcv1}, {r.component2, r.kcv2}, {r.component3, r.kcv3}};
    const int partCount = twoParts ? 2 : 3;
    for (int i = 0; i < partCount; ++i) {
        NextCustodian(session);
        uint32_t status = EnterKeyComponent(item, i + 1, algorithm, parts[i].component,
                                            parts[i].kcv, kComponentKcvLength, name, false, false);
        if (status != 0) return status;
    }
    WaitForEnter();
    NextCustodian(session, false);
    if (EnterFinalCheckValue(item, r.keyKcv, sizeof r.keyKcv, name, false) != 0) {
        return kPromptCancelled;
    }
    return ReportImportedKey(session, name, QEFTImportKey(session, name, algorithm, &r, 0));
}

uint32_t ImportAesComponents(QSessionHandle session, const MenuItem &item) {
    Secret<QEftAesComponentRecord> record;
    QEftAesComponentRecord &r = record.value;
    PrintActionHeading(item);
    PrintCeremonyWarning();
    char name[kObjectNameSize] = {};
    if (!ReadLineOrCancel("Key Name (HSM) : ", name, sizeof name)) return kPromptCancelled;
    int32_t algorithm = 0;
    if (!PickAesSize(&algorithm)) return kCancelledChoice;
    uint32_t attributes = 0;
    if (!AskKeyAttributes(&attributes, static_cast<uint32_t>(algorithm))) return kPromptCancelled;
    r.attributes = attributes;
    int32_t format = Q_KCV_FORMAT_KCV;
    if (!PickCheckValueFormat(&format)) return kCancelledChoice;
    const bool cmac = format == Q_KCV_FORMAT_CMAC;
    const bool exportable = (attributes & Q_KEY_EXPORTABLE) != 0;

    // The components' own check values are checked here but not sent.
    Secret<uint8_t[kComponentKcvLength]> kcv;
    uint8_t *const components[] = {r.component1, r.component2, r.component3};
    for (int i = 0; i < 3; ++i) {
        NextCustodian(session);
        uint32_t status =
            EnterKeyComponent(item, i + 1, static_cast<uint32_t>(algorithm), components[i],
                              kcv.value, sizeof kcv.value, name, exportable, cmac);
        if (status != 0) return status;
    }
    NextCustodian(session);
    if (EnterFinalCheckValue(item, r.keyKcv, sizeof r.keyKcv, name, exportable) != 0) {
        return kPromptCancelled;
    }
    return ReportImportedKey(session, name,
                             QEFTImportKey(session, name, static_cast<uint32_t>(algorithm), &r,
                                           cmac ? Q_KCV_FORMAT_CMAC : Q_KCV_FORMAT_KCV));
}

}  // namespace

int32_t ImportKeyComponentsAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    int32_t family = 0;
    if (!ChooseKeyFamily(true, &family)) return kCancelledChoice;
    if (family == kFamilyAes) return static_cast<int32_t>(ImportAesComponents(session, item));
    const bool twoParts = AskYesNo("Use 2 parts (y/[n]) :", 0) == 1;
    return static_cast<int32_t>(
        ImportDesFamilyComponents(session, item, family == kFamilyTripleDes, twoParts));
}
