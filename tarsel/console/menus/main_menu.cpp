// The main menu: keys and objects, users, and the HSM's own functions.
#include "admin/user_actions.h"
#include "app/version_numbers.h"
#include "console/menu_tree.h"
#include "console/menus/menu_table.h"
#include "keys/key_actions.h"

using namespace menu_table;
namespace titles = menu_titles;

bool menu_table::FirmwareHasSafeKeeping() {
    return FirmwareAtLeast("5.0.35.0");
}

namespace {

constexpr int kKeys = 0;
constexpr int kUsers = 1;
constexpr int kHsm = 2;

// clang-format off
constexpr MenuEntry kMainMenu[] = {
    Title(kKeys, "Keys/Objects"),
    Nested(kKeys, "Generate...", kAnyone, BuildGenerateMenu, titles::kGenerate),
    Action(kKeys, "Remove", kAnyone, RemoveObjectAction),
    Action(kKeys, "Attributes", kAnyone, ShowKeyInfoAction),
    Nested(kKeys, "Import...", kAnyone, BuildImportMenu, titles::kImport),
    Nested(kKeys, "Export...", kAnyone, BuildExportMenu, titles::kExport),
    Action(kKeys, "List", kAnyone, ListObjectsAction),
    Action(kKeys, "List(Pkcs11)", kAnyone, ListPkcs11MapsAction, LegacyOptions),
    Nested(kKeys, "Permissions...", kAnyone, BuildPermissionsMenu, titles::kPermissions),
    Nested(kKeys, "Key Backup...", kAnyone, BuildKeyBackupMenu, titles::kKeyBackup,
           FirmwareHasKeyBackup),

    Title(kUsers, "Users"),
    Action(kUsers, "Create", Q_ACL_CREATE_USERS, CreateUser),
    Action(kUsers, "Remove", Q_ACL_CREATE_USERS, RemoveUser),
    Action(kUsers, "List", Q_ACL_LIST_USERS, ListUsers),
    Action(kUsers, "Attributes", kAnyone, ChangeUser),
    Action(kUsers, "Trust Relations", Q_ACL_OPERATOR, ShowTrustRelations),
    Action(kUsers, "Password Policy", kAclPasswordPolicy, PasswordPolicy),
    Action(kUsers, "My Password", kAnyone, ChangeMyPassword),
    ActionForAclOnly(kUsers, "My Auth M of N", Q_ACL_MOFN_LOCAL, NotAvailableAction),
    Nested(kUsers, "Access Tokens...", kAnyone, BuildAccessTokensMenu, titles::kAccessTokens,
           AccessTokensMenu),

    Title(kHsm, "HSM"),
    Action(kHsm, "Info", Q_ACL_REMOTE_INFO, NotAvailableAction),
    Nested(kHsm, "Logs...", Q_ACL_REMOTE_INFO, BuildLogsMenu, titles::kLogs),
    Nested(kHsm, "Backup...", Q_ACL_BACKUP, BuildBackupMenu, titles::kBackup),
    Nested(kHsm, "Monitoring...", Q_ACL_REMOTE_INFO, BuildMonitoringMenu, titles::kMonitoring),
    Action(kHsm, "Firmware Update", Q_ACL_FIRMWARE, NotAvailableAction),
    Action(kHsm, "Replication...", Q_ACL_REMOTE_INFO, RunReplicationMenu),
    Action(kHsm, "IP Filter...", Q_ACL_REMOTE_INFO, RunIpFilterMenu),
    Action(kHsm, "Telemetry", Q_ACL_REMOTE_INFO, NotAvailableAction),
    Action(kHsm, "Policies", Q_ACL_REMOTE_INFO, NotAvailableAction),
    Action(kHsm, "Hardware logs", Q_ACL_REMOTE_INFO, NotAvailableAction, HardwareLogs),
    Nested(kHsm, "Tools...", Q_ACL_REMOTE_INFO, BuildToolsMenu, titles::kTools, FirmwareHasTools),
    Nested(kHsm, "SPB...", kAnyone, BuildSpbMenu, titles::kSpb),
    Nested(kHsm, "EFT...", kAnyone, BuildEftMenu, titles::kEft),
    Nested(kHsm, "Safe Keeping...", kAnyone, BuildSafeKeepingMenu, titles::kSafeKeeping,
           FirmwareHasSafeKeeping),
    Nested(kHsm, "Smart-card...", kAnyone, BuildSmartCardMenu, titles::kSmartCard,
           SmartCardLibLoaded),
    Nested(kHsm, "Blockchain...", kAnyone, BuildBlockchainMenu, titles::kBlockchain),
    Nested(kHsm, "Tests...", kAnyone, BuildTestsMenu, titles::kTests),
};
// clang-format on

}  // namespace

int BuildMainMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, nullptr, kMainMenu);
}

void RunMainMenu(QSessionHandle session, uint32_t acl, const char *header) {
    Menu menu;
    BuildMainMenu(&menu, acl, header);
    RunMenu(session, menu, "Main Menu", header, true);
}
