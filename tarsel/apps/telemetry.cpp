#include "apps/cloud_actions.h"
#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/hsm_info_attr.h"
#include "device/secret.h"
#include "hsm/hsm_actions.h"

namespace {

constexpr int kCloudLabelWidth = 23;
constexpr size_t kBindKeySize = 1024;

int32_t Bind(QSessionHandle session) {
    char bindKey[kBindKeySize] = {};
    if (ReadLine("Bind key : ", bindKey, sizeof bindKey - 1) != kPromptOk)
        return static_cast<int32_t>(kPromptCancelled);
    const uint32_t status = QOSBindHSM(session, bindKey, 0);
    WipeSecret(bindKey, sizeof bindKey);
    if (status != 0) {
        PrintError("Error binding HSM to Orvena Services.", status);
        return static_cast<int32_t>(status);
    }
    OutPrintf("\n");
    const uint32_t shown = ShowCloudInfo(session, kCloudLabelWidth);
    OutPrintf("\n%s\n", "Bind completed successfully.");
    return static_cast<int32_t>(shown);
}

int32_t OfferUnbind(QSessionHandle session) {
    if (uint32_t shown = ShowCloudInfo(session, kCloudLabelWidth); shown != 0)
        return static_cast<int32_t>(shown);
    OutPrintf("\n");
    size_t choice = 0;
    if (!ChooseOptionIndex("Actions", {"Unbind", "Main Menu"}, false, "", &choice) || choice != 0)
        return static_cast<int32_t>(kPromptCancelled);
    if (!AskYesNoWithDefault(
            "This HSM is already bound to Orvena Super Cloud.\nDo you want to unbind it", 0)) {
        PrintCancelled();
        return static_cast<int32_t>(kPromptCancelled);
    }
    if (uint32_t status = QOSUnbindHSM(session, 0); status != 0) {
        PrintError("Error unbinding HSM from Orvena Services.", status);
        return static_cast<int32_t>(status);
    }
    OutPrintf("\n%s\n", "Unbind completed successfully.");
    return 0;
}

}  // namespace

uint32_t ReadBindStatus(QSessionHandle session, uint64_t *bound) {
    uint32_t length = sizeof *bound;
    const uint32_t status = GetHsmInfoAttr(session, Q_P11_ATTR_CLOUD_STATUS, bound, &length);
    if (status != 0) PrintError("Error retrieving bind status.", status);
    return status;
}

int32_t TelemetryAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    uint64_t bound = 0;
    if (uint32_t status = ReadBindStatus(session, &bound); status != 0)
        return static_cast<int32_t>(status);
    return bound == 0 ? Bind(session) : OfferUnbind(session);
}
