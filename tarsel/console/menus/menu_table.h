#pragma once
// Shorthands for writing the menu tables, the feature-flag conditions they test and the
// menus the main menu opens.

#include <cstddef>
#include <cstdint>

#include "app/process_state.h"
#include "console/menu.h"

namespace menu_table {

template <size_t N>
constexpr MenuDefinition DefineMenu(const char *title, const MenuEntry (&entries)[N]) {
    return {title, entries, N};
}

constexpr MenuEntry Title(int column, const char *label) {
    return {column, kMenuColumnTitle, label, 0, nullptr, nullptr, nullptr, false};
}

constexpr MenuEntry Action(int column, const char *label, uint32_t requiredAcl, MenuHandler handler,
                           bool (*condition)() = nullptr) {
    return {column, kMenuAction, label, requiredAcl, handler, nullptr, condition, false};
}

// An item the operator bit does not reveal: only the ACL bit itself shows it.
constexpr MenuEntry ActionForAclOnly(int column, const char *label, uint32_t requiredAcl,
                                     MenuHandler handler) {
    return {column, kMenuAction, label, requiredAcl, handler, nullptr, nullptr, true};
}

constexpr MenuEntry Nested(int column, const char *label, uint32_t requiredAcl,
                           const MenuDefinition &opens, bool (*condition)() = nullptr) {
    return {column, kMenuNested, label, requiredAcl, RunNestedMenu, &opens, condition, false};
}

// A nested menu run as an action, so that the menu it was chosen from pauses after it.
constexpr MenuEntry NestedAction(int column, const char *label, uint32_t requiredAcl,
                                 const MenuDefinition &opens) {
    return {column, kMenuAction, label, requiredAcl, RunNestedMenu, &opens, nullptr, false};
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
// Firmware with the EFT daemon, for a user entitled to its configuration.
inline bool FirmwareHasEftDaemon() {
    return gState.fwAtLeast_5_0_27_0;
}
inline bool FirmwareHasTools() {
    return gState.fwAtLeast_5_0_11_0;
}
bool FirmwareHasSafeKeeping();

}  // namespace menu_table

// The menus the main menu opens, each defined with its neighbours under the same column.
extern const MenuDefinition kGenerateMenu;
extern const MenuDefinition kImportMenu;
extern const MenuDefinition kExportMenu;
extern const MenuDefinition kPermissionsMenu;
extern const MenuDefinition kKeyBackupMenu;
extern const MenuDefinition kAccessTokensMenu;
extern const MenuDefinition kLogsMenu;
extern const MenuDefinition kBackupMenu;
extern const MenuDefinition kMonitoringMenu;
extern const MenuDefinition kReplicationMenu;
extern const MenuDefinition kIpFilterMenu;
extern const MenuDefinition kToolsMenu;
extern const MenuDefinition kSpbMenu;
extern const MenuDefinition kEftMenu;
extern const MenuDefinition kSafeKeepingMenu;
extern const MenuDefinition kSmartCardMenu;
extern const MenuDefinition kBlockchainMenu;
extern const MenuDefinition kTestsMenu;
