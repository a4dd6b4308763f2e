#pragma once
// Shorthands for writing the menu tables, and the feature-flag conditions they test.

#include <cstdint>

#include "app/process_state.h"
#include "console/menu.h"

namespace menu_table {

constexpr MenuEntry Title(int column, const char *label) {
    return {column, kMenuColumnTitle, label, 0, nullptr, nullptr, nullptr, nullptr, false};
}

constexpr MenuEntry Action(int column, const char *label, uint32_t requiredAcl, MenuHandler handler,
                           bool (*condition)() = nullptr) {
    return {column, kMenuAction, label, requiredAcl, handler, nullptr, nullptr, condition, false};
}

// An item the operator bit does not reveal: only the ACL bit itself shows it.
constexpr MenuEntry ActionForAclOnly(int column, const char *label, uint32_t requiredAcl,
                                     MenuHandler handler) {
    return {column, kMenuAction, label, requiredAcl, handler, nullptr, nullptr, nullptr, true};
}

constexpr MenuEntry Nested(int column, const char *label, uint32_t requiredAcl, MenuBuilder builder,
                           const char *opens, bool (*condition)() = nullptr) {
    return {column,  kMenuNested, label,     requiredAcl, RunNestedMenu,
            builder, opens,       condition, false};
}

inline constexpr uint32_t kAnyone = 0;
// Either bit shows the password policy: list users or firmware update.
inline constexpr uint32_t kAclPasswordPolicy = Q_ACL_LIST_USERS | Q_ACL_FIRMWARE;

inline bool LegacyOptions() {
    return gState.legacyOptions;
}
inline bool AccessTokensMenu() {
    return gState.accessTokensMenu;
}
inline bool HardwareLogs() {
    return gState.hardwareLogs;
}
inline bool SmartCardLibLoaded() {
    return gState.smartCardLibLoaded;
}
inline bool FirmwareHasKeyBackup() {
    return gState.fwAtLeast_3_9_0_2;
}
inline bool FirmwareHasEdwardsCurves() {
    return gState.fwAtLeast_4_0_0_0;
}
inline bool FirmwareHasTools() {
    return gState.fwAtLeast_5_0_11_0;
}
bool FirmwareHasSafeKeeping();

}  // namespace menu_table

// Screen titles of the nested menus, shared by the item that opens each and its builder.
namespace menu_titles {
inline constexpr const char *kGenerate = "Keys/Objects - Generate";
inline constexpr const char *kImport = "Keys/Objects - Import";
inline constexpr const char *kImportSymmetric = "Keys/Objects - Import - Symmetric Keys";
inline constexpr const char *kImportAsymmetric = "Keys/Objects - Import - Asymmetric Keys";
inline constexpr const char *kImportOthers = "Keys/Objects - Import - Others";
inline constexpr const char *kExport = "Keys/Objects - Export";
inline constexpr const char *kExportSymmetric = "Keys/Objects - Export - Symmetric Keys";
inline constexpr const char *kExportAsymmetric = "Keys/Objects - Export - Asymmetric Keys";
inline constexpr const char *kExportByok = "Keys/Objects - Export - BYOK";
inline constexpr const char *kPermissions = "Keys/Objects - Permissions";
inline constexpr const char *kKeyBackup = "Keys/Objects - Key Backup";
inline constexpr const char *kAccessTokens = "Users - Access Tokens";
inline constexpr const char *kLogs = "HSM - Logs";
inline constexpr const char *kBackup = "HSM - Backup";
inline constexpr const char *kMonitoring = "HSM - Monitoring";
inline constexpr const char *kReplication = "HSM - Replication";
inline constexpr const char *kReplicationNodes = "HSM - Replication - Nodes";
inline constexpr const char *kIpFilter = "HSM - IP Filter";
inline constexpr const char *kTools = "HSM - Tools";
inline constexpr const char *kSpb = "HSM - SPB";
inline constexpr const char *kEft = "HSM - EFT";
inline constexpr const char *kEftImportKey = "HSM - EFT - Import Key";
inline constexpr const char *kEftExportKey = "HSM - EFT - Export Key";
inline constexpr const char *kSafeKeeping = "HSM - Safe Keeping";
inline constexpr const char *kSmartCard = "HSM - Smart-card";
inline constexpr const char *kBlockchain = "HSM - Blockchain";
inline constexpr const char *kTests = "HSM - Tests";
}  // namespace menu_titles

// Builds a menu from a table of entries under the given title (null: column titles).
template <size_t N>
int BuildFromTable(Menu *menu, uint32_t acl, const char *header, const char *title,
                   const MenuEntry (&entries)[N]) {
    return BuildMenuFromTable(menu, acl, header, title, entries, N);
}
