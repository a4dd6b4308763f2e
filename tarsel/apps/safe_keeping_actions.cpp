// "Info", "New" and "Remove" of the safe-keeping menu: a secret's life outside its shares.
#include "apps/safe_keeping.h"
#include "apps/secret_lookup.h"
#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr OptionItem<uint8_t> kLevels[] = {
    {"64 bits", 1}, {"96 bits", 2}, {"112 bits", 3}, {"128 bits", 4}, {"160 bits", 5}};

}  // namespace

int32_t SecretInfoAction(QSessionHandle session, const MenuItem &item) {
    char name[kSecretNameSize] = {};
    SecretInfo info;
    if (uint32_t status = OpenSecretAction(session, item, name, &info); status != 0)
        return static_cast<int32_t>(status);
    ErrPrintf("\n%s\n\n", "Secret info recovered successfully.");
    return 0;
}

int32_t NewSecret(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char name[kSecretNameSize] = {};
    if (!ReadLineOrCancel("Secret Name (HSM) : ", name, sizeof name)) return kPromptCancelled;
    uint8_t level = 0;
    if (!ChooseOption<uint8_t>("Security level (bits)", kLevels, &level, true, "Exit")) return 1;
    uint16_t authType = 0;
    if (AskYesNo("M of N any state (y/[n]):", 0) == 1) authType |= Q_SKEEP_AUTH_MOFN;
    // A secret asks for one second factor at most.
    if (AskYesNo("OATH (y/[n]):", 0) == 1)
        authType |= Q_SKEEP_AUTH_OATH;
    else if (AskYesNo("X.509 (y/[n]):", 0) == 1)
        authType |= Q_SKEEP_AUTH_X509;
    if (uint32_t status = QSKeepNewSecret(session, name, level, authType, 0); status != 0) {
        PrintError("Error creating secret.", status);
        return static_cast<int32_t>(status);
    }
    ErrPrintf("\n%s\n", "Secret created successfully.");
    return 0;
}

int32_t RemoveSecret(QSessionHandle session, const MenuItem &item) {
    char name[kSecretNameSize] = {};
    SecretInfo info;
    if (uint32_t status = OpenSecretAction(session, item, name, &info); status != 0)
        return static_cast<int32_t>(status);
    WaitForEnter();
    PrintActionHeading(item);
    const char *const warning[] = {"Warning", "\n",
                                   "If the secret is removed, it will be lost and cannot be",
                                   "recovered from the HSM again.", ""};
    PrintBoxedBanner('*', warning);
    OutPrintf("\n\n");
    if (AskYesNoWithDefault("Are you sure you want to remove this secret", 0) != 1) {
        PrintCancelled();
        return 1;
    }
    uint32_t status =
        QSKeepRemoveSecret(session, name, static_cast<uint8_t>(info.level), info.authType, 0);
    if (status != 0) {
        PrintError("Error removing secret.", status);
        return static_cast<int32_t>(status);
    }
    ErrPrintf("\n%s\n\n", "Secret removed successfully.");
    return 0;
}
