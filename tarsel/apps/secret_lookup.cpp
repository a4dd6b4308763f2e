#include "apps/secret_lookup.h"

#include <string>

#include "console/prompts.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "keys/key_access.h"

namespace {

const char *LevelName(uint16_t level) {
    static const char *const kNames[] = {"Unknown",  "64 bits",  "96 bits",
                                         "112 bits", "128 bits", "160 bits"};
    return level < std::size(kNames) ? kNames[level] : "Invalid security level";
}

std::string AuthTypeText(uint16_t authType) {
    // The OATH requirement is spelled as the HSM's documentation spells it.
    static const struct {
        uint16_t bit;
        const char *name;
    } kTypes[] = {
        {Q_SKEEP_AUTH_MOFN, "M of N"}, {Q_SKEEP_AUTH_OATH, "OAUTH"}, {Q_SKEEP_AUTH_X509, "X.509"}};
    std::string text;
    for (const auto &type : kTypes) {
        if ((authType & type.bit) == 0) continue;
        if (!text.empty()) text += ", ";
        text += type.name;
    }
    return text.empty() ? "Not limited" : text;
}

}  // namespace

uint32_t AskSecretName(QSessionHandle session, char *name, SecretInfo *info) {
    if (!ReadLineOrCancel("Secret Name (HSM) : ", name, kSecretNameSize)) return kPromptCancelled;
    OwnedKey object;
    uint32_t algorithm = 0;
    uint32_t length = sizeof algorithm;
    uint32_t status = QGetUserKey(session, name, KeyOpenOption(session), object.Out());
    if (status == 0)
        status = QGetKeyParam(object.Get(), Q_KEY_PARAM_ALGORITHM, &algorithm, &length, 0);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    if (algorithm != Q_ALG_OBJ_SECRET) {
        ErrPrintf("\n%s\n", "Error invalid key.");
        return 1;
    }
    uint32_t probed = 0;
    if ((status = QSKeepProbeSecret(session, name, &probed)) != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    info->authType = static_cast<uint16_t>(probed & 0xFFFFu);
    info->level = static_cast<uint16_t>(probed >> 16);
    return 0;
}

void ShowSecretInfo(const SecretInfo &info) {
    OutPrintf("%22s%s\n", "Security level : ", LevelName(info.level));
    OutPrintf("%22s%s\n", "Authentication type : ", AuthTypeText(info.authType).c_str());
}

uint32_t OpenSecretAction(QSessionHandle session, const MenuItem &item, char *name,
                          SecretInfo *info) {
    PrintActionHeading(item);
    if (uint32_t status = AskSecretName(session, name, info); status != 0) return status;
    OutPrintf("\n");
    ShowSecretInfo(*info);
    OutPrintf("\n");
    return 0;
}

void PrintSecretNameLine(const char *name) {
    OutPrintf("%s%s\n", "Secret Name (HSM) : ", name);
}
