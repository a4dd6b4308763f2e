#include "apps/export_key_components.h"

#include <cstring>

#include "apps/ceremony_steps.h"
#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "device/secret.h"
#include "keys/algorithm_tables.h"
#include "keys/key_generation.h"
#include "keys/key_material_entry.h"

namespace {

constexpr size_t kKcvLength = 3;

// What the custodians are shown, whichever record the library filled.
struct Components {
    uint32_t algorithm = 0;
    uint32_t keyLength = 0;
    bool exportable = false;
    uint8_t parts[3][32] = {};
    uint8_t kcvs[3][kKcvLength] = {};
    uint8_t keyKcv[kKcvLength] = {};
};

void PrintExportWarning() {
    const char *const warning[] = {"Warning",
                                   "\n",
                                   "This export procedure will show the key components and",
                                   "their check values. Each custodian must read the respective",
                                   "component alone, isolated of the others.",
                                   "The screen will reset after each component in order to not",
                                   "show the key material to the next custodian.",
                                   ""};
    PrintBoxedBanner('*', warning);
    OutPrintf("\n\n");
}

uint32_t ExportDesFamily(QSessionHandle session, const char *name, uint32_t parts,
                         Components *out) {
    Secret<QEftComponentRecord> record;
    uint32_t length = sizeof record.value;
    uint32_t status = QEFTExportKey(session, name, parts, &record.value, &length, 0);
    if (status != 0) return status;
    QEftComponentRecord &r = record.value;
    const uint8_t *const components[] = {r.component1, r.component2, r.component3};
    const uint8_t *const kcvs[] = {r.kcv1, r.kcv2, r.kcv3};
    for (int i = 0; i < 3; ++i) {
        memcpy(out->parts[i], components[i], sizeof r.component1);
        memcpy(out->kcvs[i], kcvs[i], kKcvLength);
    }
    memcpy(out->keyKcv, r.keyKcv, kKcvLength);
    return 0;
}

// The AES record carries no component check values: they are computed here, in the
// format of the whole key's.
uint32_t ExportAes(QSessionHandle session, const char *name, uint32_t algorithm, uint32_t parts,
                   int32_t format, Components *out) {
    Secret<QEftAesComponentRecord> record;
    QEftAesComponentRecord &r = record.value;
    uint32_t status =
        QEFTExportAESKeyParts(session, name, parts, static_cast<uint32_t>(format), &r, 0);
    if (status != 0) return status;
    out->exportable = (r.attributes & Q_KEY_EXPORTABLE) != 0;
    const uint8_t *const components[] = {r.component1, r.component2, r.component3};
    for (int i = 0; i < 3; ++i) {
        memcpy(out->parts[i], components[i], sizeof r.component1);
        uint32_t kcvLength = kKcvLength;
        status = QEFTGenKCVOffline(
            format == Q_KCV_FORMAT_CMAC ? Q_KCV_OFFLINE_CMAC : Q_KCV_OFFLINE_KCV, algorithm,
            out->parts[i], out->keyLength, 0, out->kcvs[i], &kcvLength, 0);
        if (status != 0) return status;
    }
    memcpy(out->keyKcv, r.keyKcv, kKcvLength);
    return 0;
}

// The algorithm of the key to export and whether it may leave, read from the HSM.
uint32_t ReadKey(QSessionHandle session, const char *name, Components *out) {
    OwnedKey key;
    uint32_t status = QGetUserKey(session, name, Q_KEY_OPEN_DEFAULT, key.Out());
    uint32_t notExportable = 1;
    uint32_t length = sizeof out->algorithm;
    if (status == 0)
        status = QGetKeyParam(key.Get(), Q_KEY_PARAM_ALGORITHM, &out->algorithm, &length, 0);
    length = sizeof notExportable;
    if (status == 0)
        status = QGetKeyParam(key.Get(), Q_KEY_PARAM_EXPORT, &notExportable, &length, 0);
    out->keyLength = SymmetricKeyLength(out->algorithm);
    out->exportable = notExportable == 0;
    return status;
}

bool IsDesFamily(uint32_t algorithm) {
    return algorithm == Q_ALG_DES || algorithm == Q_ALG_3DES_112 || algorithm == Q_ALG_3DES_168;
}

// A cover screen first, so the custodian reads the component alone; then the component,
// until ENTER clears it.
void ShowComponent(QSessionHandle session, const MenuItem &item, const char *name,
                   const Components &components, int part) {
    PrintKeyEntryHeading(item, name, components.exportable);
    OutPrintf("%s %d%s\n\n", "Custodian of Key material Part", part,
              ", press ENTER when alone at the console.");
    NextCustodian(session);
    PrintKeyEntryHeading(item, name, components.exportable);
    OutPrintf("%s %d (%d %s) :\n\n", "Key material Part", part,
              static_cast<int>(2 * components.keyLength), "hexadecimal characters");
    PrintHex(components.parts[part - 1], components.keyLength, true);
    OutPrintf("\n%s (%d %s) :\n\n", "Key Check Value", static_cast<int>(2 * kKcvLength),
              "hexadecimal characters");
    PrintHex(components.kcvs[part - 1], kKcvLength, true);
    OutPrintf("\n");
    WaitForEnter();
}

}  // namespace

int32_t ExportKeyComponentsAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char name[kObjectNameSize] = {};
    if (!ReadLineOrCancel("Key Name (HSM) : ", name, sizeof name)) return kPromptCancelled;
    Secret<Components> components;
    Components &c = components.value;
    if (uint32_t status = ReadKey(session, name, &c); status != 0) {
        PrintError("Error exporting key.", status);
        return static_cast<int32_t>(status);
    }
    const uint32_t parts = AskYesNo("Use 2 parts (y/[n]) :", 0) == 1 ? 2 : 3;
    int32_t format = Q_KCV_FORMAT_KCV;
    if (!IsDesFamily(c.algorithm) && !PickCheckValueFormat(&format)) return kCancelledChoice;
    uint32_t status = IsDesFamily(c.algorithm)
                          ? ExportDesFamily(session, name, parts, &c)
                          : ExportAes(session, name, c.algorithm, parts, format, &c);
    if (status != 0) {
        PrintError("Error exporting key.", status);
        return static_cast<int32_t>(status);
    }
    PrintActionHeading(item);
    PrintExportWarning();
    WaitForEnter();
    for (int part = 1; part <= static_cast<int>(parts); ++part)
        ShowComponent(session, item, name, c, part);
    PrintKeyEntryHeading(item, name, c.exportable);
    OutPrintf("%s (%d %s) :\n\n", "Final Key Check Value", 6, "hexadecimal characters");
    PrintHex(c.keyKcv, kKcvLength, true);
    ErrPrintf("\n%s\n\n", "Key exported successfully.");
    return 0;
}
