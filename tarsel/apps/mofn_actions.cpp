#include "apps/mofn_actions.h"

#include <cstdio>
#include <cstring>
#include <iterator>
#include <vector>

#include "admin/user_summary.h"
#include "app/process_state.h"
#include "apps/custodian_cards.h"
#include "apps/mofn_status.h"
#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

enum MofNAction : uint32_t {
    kAssociate = 1,
    kReassociate = 2,
    kAuthorize = 3,
    kReauthorize = 4,
    kSessionAuthorize = 5,
    kReset = 6,
    kCheck = 7,
};

constexpr const char *kActionLabels[] = {
    "",
    "Associate",
    "Reassociate (Set Permissions)",
    "Authorize",
    "Reauthorize (Set Permissions)",
    "Session Authorize",
    "Reset",
    "Check",
};

constexpr uint32_t kSessionAuthorizedMenu = 6;

// The permissions the custodians may grant, in the order they are asked.
struct Permission {
    uint32_t bit;
    const char *question;
    const char *summary;
};
constexpr Permission kPermissions[] = {
    {Q_MOFN_PERM_EXPORT, "Set Key Export", "Key Export"},
    {Q_MOFN_PERM_DESTROY, "Set Key Destroy", "Key Destroy"},
    {Q_MOFN_PERM_BLOCK, "Set Key Block", "Key Block"},
    {Q_MOFN_PERM_PARTITION_REMOVE, "Set Partition Remove (destroy all keys)",
     "Partition Remove (destroy all keys)"},
};

struct PermissionText {
    char text[256];
};

// What the custodians are asked to approve, shown above each card.
PermissionText PermissionSummary(uint32_t mask) {
    PermissionText summary{};
    int used = snprintf(summary.text, sizeof summary.text, "%s : %s\n", "Key Read", "yes");
    for (const Permission &permission : kPermissions)
        used +=
            snprintf(summary.text + used, sizeof summary.text - static_cast<size_t>(used),
                     "%s : %s\n", permission.summary, (mask & permission.bit) != 0 ? "yes" : "no");
    return summary;
}

uint32_t AskMofNPermissions(uint32_t mask) {
    OutPrintf("%s : %s\n", "Set Key Read", "yes");
    for (const Permission &permission : kPermissions) {
        if (AskYesNoWithDefault(permission.question, (mask & permission.bit) != 0 ? 1 : 0) != 0)
            mask |= permission.bit;
        else
            mask &= ~permission.bit;
    }
    return mask;
}

uint32_t ReadAuthRecord(QSessionHandle session, QUserAuthRecord *record) {
    *record = QUserAuthRecord{};
    strncpy(record->userId, gState.userId, sizeof record->userId - 1);
    uint32_t length = sizeof *record;
    const uint32_t rc = QGetUserParam(session, Q_USER_PARAM_AUTH, record, &length, 0);
    if (rc != 0) {
        PrintError("Error retrieving user acl.", rc);
        *record = QUserAuthRecord{};
    }
    return rc;
}

void ShowAclAgain(QSessionHandle session) {
    uint32_t acl = 0;
    const uint32_t rc = QGetUserAcl(session, gState.userId, &acl);
    if (rc != 0) {
        PrintError("Error retrieving user acl.", rc);
        return;
    }
    OutPrintf("\n");
    (void)ShowMofNStatus(session, gState.userId, acl);  // reports its own failure
}

CeremonyScreen ScreenOf(const MenuItem &item, uint32_t action) {
    return {&item, gState.userId, kActionLabels[action]};
}

// The cards, then the HSM. Returns 0 or the failing status.
uint32_t PresentCards(QSessionHandle session, const CeremonyScreen &screen, const char *caption,
                      uint32_t mask, uint32_t operation) {
    Secret<ShadowSet> cards;
    uint32_t rc = ReadCustodianCards(screen, caption, &cards);
    if (rc != 0) return rc;
    rc = QNSAuthSetState(session, mask, operation, cards.value.cards, cards.value.count, 0);
    if (rc != 0) PrintError("Error defining M of N ACL.", rc);
    return rc;
}

int32_t Associate(QSessionHandle session, const MenuItem &item, uint32_t action,
                  uint32_t operation) {
    const CeremonyScreen screen = ScreenOf(item, action);
    ShowCeremonyHeading(screen);
    QUserAuthRecord record;
    if (uint32_t rc = ReadAuthRecord(session, &record); rc != 0) return static_cast<int32_t>(rc);
    const uint32_t mask = AskMofNPermissions(record.permissionMask);
    const uint32_t rc =
        PresentCards(session, screen, PermissionSummary(mask).text, mask, operation);
    if (rc != 0) return static_cast<int32_t>(rc);
    gState.sessionAuthorized = false;
    ShowAclAgain(session);
    return 0;
}

int32_t SessionAuthorize(QSessionHandle session, const MenuItem &item) {
    const CeremonyScreen screen = ScreenOf(item, kSessionAuthorize);
    ShowCeremonyHeading(screen);
    const uint32_t rc =
        PresentCards(session, screen, PermissionSummary(0).text, 0, Q_MOFN_SESSION_AUTHORIZE);
    if (rc != 0) return static_cast<int32_t>(rc);
    gState.sessionAuthorized = true;
    ShowAclAgain(session);
    return 0;
}

int32_t ChangeState(QSessionHandle session, const MenuItem &item, uint32_t action,
                    uint32_t operation) {
    const CeremonyScreen screen = ScreenOf(item, action);
    ShowCeremonyHeading(screen);
    const uint32_t rc = PresentCards(session, screen, "", 0, operation);
    if (rc != 0) return static_cast<int32_t>(rc);
    ShowCeremonyHeading(screen);
    if (operation == Q_MOFN_CHECK) {
        OutPrintf("%s\n", "Check operation completed successfully.");
        return 0;
    }
    gState.sessionAuthorized = false;
    ShowAclAgain(session);
    OutPrintf("\n%s\n", "Reset operation completed successfully.");
    return 0;
}

int32_t RunMofNAction(uint32_t action, QSessionHandle session, const MenuItem &item) {
    switch (action) {
        case kAssociate:
        case kReassociate:
            return Associate(session, item, action, Q_MOFN_ASSOCIATE);
        case kAuthorize:
        case kReauthorize:
            return Associate(session, item, action, Q_MOFN_AUTHORIZE);
        case kSessionAuthorize:
            return SessionAuthorize(session, item);
        case kReset:
            return ChangeState(session, item, action, Q_MOFN_RESET);
        case kCheck:
            return ChangeState(session, item, action, Q_MOFN_CHECK);
        default:
            ErrPrintf("\n%s\n", "Invalid option.");
            return 1;
    }
}

// The actions of a menu state, or none when the state offers no menu.
std::vector<uint32_t> ActionsOf(uint32_t menuState) {
    switch (menuState) {
        case 3:
            return {kAssociate, kCheck};
        case 4:
            return {kReassociate, kAuthorize, kSessionAuthorize, kCheck, kReset};
        case 5:
            return {kAssociate, kReauthorize, kSessionAuthorize, kCheck, kReset};
        case kSessionAuthorizedMenu:
            return {kAssociate, kAuthorize, kCheck, kReset};
        default:
            return {};
    }
}

// The action chosen, or 0 for "Exit" and for a state without actions.
uint32_t MofNActionsMenu(uint32_t menuState) {
    const std::vector<uint32_t> actions = ActionsOf(menuState);
    if (actions.empty()) {
        ErrPrintf("\n%s\n", "Operation cancelled! Invalid M of N state.");
        return 0;
    }
    std::vector<const char *> labels;
    for (uint32_t action : actions)
        labels.push_back(kActionLabels[action]);
    size_t choice = 0;
    if (!ChooseOptionIndex("Actions", labels, true, "Exit", &choice)) return 0;
    return actions[choice];
}

}  // namespace

uint32_t MofNMenuState(uint32_t hsmState) {
    if (gState.sessionAuthorized) return kSessionAuthorizedMenu;
    return hsmState <= Q_MOFN_STATE_AUTHORIZED ? hsmState + 1 : 1;
}

int32_t ShowUserAcl(QSessionHandle session, const MenuItem &item) {
    ShowCeremonyHeading({&item, gState.userId, item.label});
    uint32_t acl = 0;
    const uint32_t rc = QGetUserAcl(session, gState.userId, &acl);
    if (rc != 0) {
        PrintError("Error retrieving user acl.", rc);
        return static_cast<int32_t>(rc);
    }
    ShowUserSummary(session, gState.userId, acl, ReadUserBlocked(session, gState.userId));
    QUserAuthRecord record;
    (void)ReadAuthRecord(session, &record);  // a failed read leaves state 0: no menu
    OutPrintf("\n");
    const uint32_t action = MofNActionsMenu(MofNMenuState(record.mofnState));
    return action == 0 ? 1 : RunMofNAction(action, session, item);
}
