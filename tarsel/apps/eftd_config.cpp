#include "apps/eftd_config.h"

#include <vector>

#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr int kLabelWidth = 23;
// The ranges the HSM accepts; the prompts refuse the rest before anything is sent.
constexpr int32_t kMinHeaderLength = 1;
constexpr int32_t kMaxHeaderLength = 255;
constexpr int32_t kMinPinLength = 5;
constexpr int32_t kMaxPinLength = 13;
constexpr const char *kCompleted = "EFTd configuration completed successfully.";

enum class EftdAction { kAuthorize, kDeauthorize, kEdit, kReset, kExit };

// Authorizes (or deauthorizes) host commands for partition eftd0 after the user agrees.
int32_t ChangeAuthorization(QSessionHandle session, bool authorize) {
    if (AskYesNo(authorize ? "Do you want enable partition eftd0 (y/[n])? "
                           : "Do you want disable partition eftd0 (y/[n])? ",
                 0) != 1) {
        PrintCancelled();
        return 1;
    }
    const uint32_t rc = QAdmOperation(
        session, authorize ? Q_ADM_EFTD_AUTHORIZE : Q_ADM_EFTD_DEAUTHORIZE, nullptr, 0, 0);
    if (rc != Q_OK) {
        PrintError("Error altering EFTd configuration.", rc);
        return static_cast<int32_t>(rc);
    }
    OutPrintf("\n%s %s.\n\n", "Partition eftd0 is now", authorize ? "authorized" : "unauthorized");
    return 0;
}

// One optional length: ENTER keeps it, a value in range is sent at once. Returns 0 or the
// status that ends the edit.
uint32_t EditLength(QSessionHandle session, const char *label, uint8_t current, int32_t min,
                    int32_t max, uint32_t operation) {
    int32_t value = 0;
    const uint32_t prompt = ReadIntWithDefault(label, current, kLabelWidth, min, max, &value);
    if (prompt == kPromptCancelled) return 0;
    if (prompt != kPromptOk) {
        ErrPrintf("\n%s\n", "Operation cancelled! Invalid length.");
        return prompt;
    }
    uint8_t length = static_cast<uint8_t>(value);
    const uint32_t rc = QAdmOperation(session, operation, &length, sizeof length, 0);
    if (rc != Q_OK) PrintError("Error defining EFTd configuration.", rc);
    return rc;
}

int32_t Edit(QSessionHandle session, const QEftdConfig &config) {
    OutPrintf("%s\n\n", "Press ENTER to skip option.");
    if (uint32_t rc = EditLength(session, "Message header length", config.headerLength,
                                 kMinHeaderLength, kMaxHeaderLength, Q_ADM_EFTD_SET_HEADER_LEN);
        rc != 0)
        return static_cast<int32_t>(rc);
    if (uint32_t rc = EditLength(session, "PIN length", config.pinLength, kMinPinLength,
                                 kMaxPinLength, Q_ADM_EFTD_SET_PIN_LEN);
        rc != 0)
        return static_cast<int32_t>(rc);
    OutPrintf("\n\n%s\n", kCompleted);
    return 0;
}

int32_t Reset(QSessionHandle session) {
    if (AskYesNo("Reset configuration (y/[n])? ", 0) != 1) {
        PrintCancelled();
        return 1;
    }
    const uint32_t rc = QAdmOperation(session, Q_ADM_EFTD_RESET, nullptr, 0, 0);
    if (rc != Q_OK) {
        PrintError("Error reseting EFTd configuration.", rc);
        return static_cast<int32_t>(rc);
    }
    OutPrintf("\n\n%s\n", kCompleted);
    return 0;
}

// The actions this user may take, "Exit" last. Returns a library status.
uint32_t ListActions(QSessionHandle session, const QEftdConfig &config,
                     std::vector<EftdAction> *actions) {
    if (gState.eftDaemonUser)
        actions->push_back(config.authorized ? EftdAction::kDeauthorize : EftdAction::kAuthorize);
    uint32_t acl = 0;
    if (const uint32_t rc = QGetUserAcl(session, gState.userId, &acl); rc != Q_OK) {
        PrintError("Error retrieving user acl.", rc);
        return rc;
    }
    if ((acl & Q_ACL_OPERATOR) != 0) {
        actions->push_back(EftdAction::kEdit);
        actions->push_back(EftdAction::kReset);
    }
    actions->push_back(EftdAction::kExit);
    return Q_OK;
}

const char *ActionLabel(EftdAction action) {
    switch (action) {
        case EftdAction::kAuthorize:
            return "Authorize Host Commands";
        case EftdAction::kDeauthorize:
            return "Deauthorize Host Commands";
        case EftdAction::kEdit:
            return "Edit";
        case EftdAction::kReset:
            return "Reset";
        default:
            return "Exit";
    }
}

int32_t EftdConfigOnce(QSessionHandle session) {
    QEftdConfig config{};
    if (const uint32_t rc =
            QAdmOperation(session, Q_ADM_EFTD_GET_CONFIG, &config, sizeof config, 0);
        rc != Q_OK) {
        PrintError("Error retrieving EFTd configuration info.", rc);
        return static_cast<int32_t>(rc);
    }
    OutPrintf("%*s : %s\n", kLabelWidth, "Partition eftd0",
              config.authorized != 0 ? "authorized" : "unauthorized");
    OutPrintf("%*s : %d\n", kLabelWidth, "Message header length", config.headerLength);
    OutPrintf("%*s : %d\n", kLabelWidth, "PIN length", config.pinLength);
    OutPrintf("\n");
    std::vector<EftdAction> actions;
    if (const uint32_t rc = ListActions(session, config, &actions); rc != Q_OK)
        return static_cast<int32_t>(rc);
    std::vector<const char *> labels;
    for (EftdAction action : actions)
        labels.push_back(ActionLabel(action));
    int32_t choice = 0;
    if (const uint32_t rc = ChooseFromList(labels.data(), labels.size(), false, &choice);
        rc != kPromptOk) {
        OutPrintf("\n\n%s\n", "Invalid option.");
        return static_cast<int32_t>(rc);
    }
    OutPrintf("\n");
    switch (actions[static_cast<size_t>(choice - 1)]) {
        case EftdAction::kAuthorize:
            return ChangeAuthorization(session, true);
        case EftdAction::kDeauthorize:
            return ChangeAuthorization(session, false);
        case EftdAction::kEdit:
            return Edit(session, config);
        case EftdAction::kReset:
            return Reset(session);
        default:
            return 1;
    }
}

}  // namespace

int32_t EftdConfigScreen(QSessionHandle session, const MenuItem &item) {
    for (;;) {
        PrintActionHeading(item);
        if (const int32_t result = EftdConfigOnce(session); result != 0) return result;
        WaitForEnter();
    }
}
