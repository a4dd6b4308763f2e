#pragma once
// The console's menu tree: one builder per menu, each with MenuBuilder's signature. They
// read the feature flags from gState. Titles are the screen titles the builders' items use.

#include <cstdint>

#include "console/menu.h"

int BuildMainMenu(Menu *menu, uint32_t acl, const char *header);

// Keys and objects.
int BuildGenerateMenu(Menu *menu, uint32_t acl, const char *header);
int BuildPermissionsMenu(Menu *menu, uint32_t acl, const char *header);
int BuildKeyBackupMenu(Menu *menu, uint32_t acl, const char *header);
int BuildImportMenu(Menu *menu, uint32_t acl, const char *header);
int BuildImportSymmetricMenu(Menu *menu, uint32_t acl, const char *header);
int BuildImportAsymmetricMenu(Menu *menu, uint32_t acl, const char *header);
int BuildImportOthersMenu(Menu *menu, uint32_t acl, const char *header);
int BuildExportMenu(Menu *menu, uint32_t acl, const char *header);
int BuildExportSymmetricMenu(Menu *menu, uint32_t acl, const char *header);
int BuildExportAsymmetricMenu(Menu *menu, uint32_t acl, const char *header);
int BuildExportByokMenu(Menu *menu, uint32_t acl, const char *header);

// Users.
int BuildAccessTokensMenu(Menu *menu, uint32_t acl, const char *header);

// HSM.
int BuildLogsMenu(Menu *menu, uint32_t acl, const char *header);
int BuildBackupMenu(Menu *menu, uint32_t acl, const char *header);
int BuildMonitoringMenu(Menu *menu, uint32_t acl, const char *header);
int BuildReplicationMenu(Menu *menu, uint32_t acl, const char *header);
int BuildReplicationNodesMenu(Menu *menu, uint32_t acl, const char *header);
int BuildIpFilterMenu(Menu *menu, uint32_t acl, const char *header);
int BuildToolsMenu(Menu *menu, uint32_t acl, const char *header);
int BuildSpbMenu(Menu *menu, uint32_t acl, const char *header);
int BuildEftMenu(Menu *menu, uint32_t acl, const char *header);
int BuildEftImportKeyMenu(Menu *menu, uint32_t acl, const char *header);
int BuildEftExportKeyMenu(Menu *menu, uint32_t acl, const char *header);
int BuildSafeKeepingMenu(Menu *menu, uint32_t acl, const char *header);
int BuildSmartCardMenu(Menu *menu, uint32_t acl, const char *header);
int BuildBlockchainMenu(Menu *menu, uint32_t acl, const char *header);
int BuildTestsMenu(Menu *menu, uint32_t acl, const char *header);

// Actions of the "HSM" column that run a menu of their own (and so pause when it is left).
int32_t RunReplicationMenu(QSessionHandle session, const MenuItem &item);
int32_t RunIpFilterMenu(QSessionHandle session, const MenuItem &item);

// Builds the main menu for the logged-in user and runs it under "Main Menu".
void RunMainMenu(QSessionHandle session, uint32_t acl, const char *header);
