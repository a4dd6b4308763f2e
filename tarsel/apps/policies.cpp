#include "apps/cloud_actions.h"
#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr const char *kTfaLabel = "TFA with certificate for HTTPS";
constexpr const char *kOnlineLabel = "Set Authorized state online";

// The new word is built from the two answers alone, never from the current policy.
int32_t EditPolicy(QSessionHandle session) {
    uint32_t policy = 0;
    if (AskYesNoWithDefault(kTfaLabel, 0)) policy |= Q_POLICY_TFA_HTTPS_CERT;
    if (AskYesNoWithDefault(kOnlineLabel, 0)) policy |= Q_POLICY_AUTHORIZED_ONLINE;
    if (uint32_t status = QAdmOperation(session, Q_ADM_SET_POLICY, &policy, sizeof policy, 0);
        status != 0) {
        PrintError("Error defining security policy.", status);
        return static_cast<int32_t>(status);
    }
    OutPrintf("\n%s\n", "Policy defined successfully.");
    return 0;
}

}  // namespace

int32_t PoliciesAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    // The policy is shown bound or not; the status only has to be readable.
    uint64_t bound = 0;
    if (uint32_t status = ReadBindStatus(session, &bound); status != 0)
        return static_cast<int32_t>(status);
    uint32_t policy = 0;
    if (uint32_t status = QAdmOperation(session, Q_ADM_GET_POLICY, &policy, sizeof policy, 0);
        status != 0) {
        PrintError("Error retrieving security policy.", status);
        return static_cast<int32_t>(status);
    }
    OutPrintf("%s: %s\n", kTfaLabel, (policy & Q_POLICY_TFA_HTTPS_CERT) != 0 ? "yes" : "no");
    OutPrintf("%s: %s\n", kOnlineLabel, (policy & Q_POLICY_AUTHORIZED_ONLINE) != 0 ? "yes" : "no");
    OutPrintf("\n");
    size_t choice = 0;
    if (!ChooseOptionIndex("Actions", {"Edit", "Exit"}, false, "", &choice) || choice != 0)
        return static_cast<int32_t>(kPromptCancelled);
    return EditPolicy(session);
}
