// The main menu: keys and objects, users, and the HSM's own functions.
#include "admin/user_actions.h"
#include "app/version_numbers.h"
#include "apps/cloud_actions.h"
#include "apps/mofn_actions.h"
#include "console/menu_tree.h"
#include "console/menus/menu_table.h"
#include "hsm/firmware_actions.h"
#include "hsm/hsm_actions.h"
#include "hsm/log_actions.h"
#include "keys/key_actions.h"

using namespace menu_table;

bool menu_table::FirmwareHasSafeKeeping() {
    return FirmwareAtLeast("5.0.35.0");
}

namespace {

constexpr int kKeys = 0;
constexpr int kUsers = 1;
constexpr int kHsm = 2;

constexpr MenuEntry kMainItems[] = {
    Title(kKeys, "Keys/Objects"),
    Nested(kKeys, "Generate...", kAnyone, kGenerateMenu),
    Action(kKeys, "Remove", kAnyone, RemoveObjectAction),
    Action(kKeys, "Attributes", kAnyone, ShowKeyInfoAction),
    Nested(kKeys, "Import...", kAnyone, kImportMenu),
    Nested(kKeys, "Export...", kAnyone, kExportMenu),
    Action(kKeys, "List", kAnyone, ListObjectsAction),
    Action(kKeys, "List(Pkcs11)", kAnyone, ListPkcs11MapsAction, LegacyOptions),
    Nested(kKeys, "Permissions...", kAnyone, kPermissionsMenu),
    Nested(kKeys, "Key Backup...", kAnyone, kKeyBackupMenu, FirmwareHasKeyBackup),

    Title(kUsers, "Users"),
    Action(kUsers, "Create", Q_ACL_CREATE_USERS, CreateUser),
    Action(kUsers, "Remove", Q_ACL_CREATE_USERS, RemoveUser),
    Action(kUsers, "List", Q_ACL_LIST_USERS, ListUsers),
    Action(kUsers, "Attributes", kAnyone, ChangeUser),
    Action(kUsers, "Trust Relations", Q_ACL_OPERATOR, ShowTrustRelations),
    Action(kUsers, "Password Policy", kAclPasswordPolicy, PasswordPolicy),
    Action(kUsers, "My Password", kAnyone, ChangeMyPassword),
    ActionForAclOnly(kUsers, "My Auth M of N", Q_ACL_MOFN_LOCAL, ShowUserAcl),
    Nested(kUsers, "Access Tokens...", kAnyone, kAccessTokensMenu, AccessTokensMenu),

    Title(kHsm, "HSM"),
    Action(kHsm, "Info", Q_ACL_REMOTE_INFO, ShowHsmInfo),
    Nested(kHsm, "Logs...", Q_ACL_REMOTE_INFO, kLogsMenu),
    Nested(kHsm, "Backup...", Q_ACL_BACKUP, kBackupMenu),
    Nested(kHsm, "Monitoring...", Q_ACL_REMOTE_INFO, kMonitoringMenu),
    Action(kHsm, "Firmware Update", Q_ACL_FIRMWARE, UpdateFirmware),
    NestedAction(kHsm, "Replication...", Q_ACL_REMOTE_INFO, kReplicationMenu),
    NestedAction(kHsm, "IP Filter...", Q_ACL_REMOTE_INFO, kIpFilterMenu),
    Action(kHsm, "Telemetry", Q_ACL_REMOTE_INFO, TelemetryAction),
    Action(kHsm, "Policies", Q_ACL_REMOTE_INFO, PoliciesAction),
    Action(kHsm, "Hardware logs", Q_ACL_REMOTE_INFO, RetrieveZippedLogs, HardwareLogs),
    Nested(kHsm, "Tools...", Q_ACL_REMOTE_INFO, kToolsMenu, FirmwareHasTools),
    Nested(kHsm, "SPB...", kAnyone, kSpbMenu),
    Nested(kHsm, "EFT...", kAnyone, kEftMenu),
    Nested(kHsm, "Safe Keeping...", kAnyone, kSafeKeepingMenu, FirmwareHasSafeKeeping),
    Nested(kHsm, "Smart-card...", kAnyone, kSmartCardMenu, SmartCardLibLoaded),
    Nested(kHsm, "Blockchain...", kAnyone, kBlockchainMenu),
    Nested(kHsm, "Tests...", kAnyone, kTestsMenu),
};

}  // namespace

constexpr MenuDefinition kMainMenu = DefineMenu(nullptr, kMainItems);

void RunMainMenu(QSessionHandle session, uint32_t acl, const char *header) {
    Menu menu;
    BuildMenu(&menu, kMainMenu, acl, header);
    RunMenu(session, menu, "Main Menu", header, true);
}
