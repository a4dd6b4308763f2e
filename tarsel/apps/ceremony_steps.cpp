#include "apps/ceremony_steps.h"

#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "keys/key_summary.h"

namespace {

constexpr OptionItem<int32_t> kFamilies[] = {
    {"DES", kFamilyDes}, {"3DES", kFamilyTripleDes}, {"AES", kFamilyAes}};
constexpr OptionItem<int32_t> kDesFamilies[] = {{"DES", kFamilyDes}, {"3DES", kFamilyTripleDes}};

}  // namespace

bool ChooseKeyFamily(bool withAes, int32_t *family) {
    return withAes ? ChooseFromTable("Option", kFamilies, family)
                   : ChooseFromTable("Option", kDesFamilies, family);
}

void NextCustodian(QSessionHandle session, bool pause) {
    if (pause) WaitForEnter();
    QAdmOperation(session, Q_ADM_LIVENESS, nullptr, 0, Q_ADM_LIVENESS_FLAGS);
}

uint32_t ReportImportedKey(QSessionHandle session, const char *name, uint32_t status) {
    if (status != 0) {
        PrintError("Error importing key.", status);
        return status;
    }
    ErrPrintf("\n%s\n\n", "Key imported successfully.");
    OwnedKey key;
    QGetUserKey(session, name, Q_KEY_OPEN_DEFAULT, key.Out());
    ShowKeySummary(key.Get(), name);
    return 0;
}
