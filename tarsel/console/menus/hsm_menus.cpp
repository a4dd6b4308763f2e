// Menus under "HSM" for its administration: logs, backup, monitoring, replication, IP
// filter and network tools.
#include "console/menu_tree.h"
#include "console/menus/menu_table.h"

using namespace menu_table;
namespace titles = menu_titles;

namespace {

// clang-format off
constexpr MenuEntry kLogsMenu[] = {
    Title(0, ""),
    Action(0, "Retrieve", Q_ACL_REMOTE_INFO, NotAvailableAction),
    Action(0, "Clear", Q_ACL_REMOTE_INFO, NotAvailableAction),
    Action(0, "Follow", Q_ACL_REMOTE_INFO, NotAvailableAction),
};

constexpr MenuEntry kBackupMenu[] = {
    Title(0, ""),
    Action(0, "Backup", Q_ACL_BACKUP, NotAvailableAction),
    Action(0, "Restore", Q_ACL_BACKUP, NotAvailableAction),
};

constexpr MenuEntry kMonitoringMenu[] = {
    Title(0, ""),
    Action(0, "Monitor resources", Q_ACL_REMOTE_INFO, NotAvailableAction),
    Action(0, "Monitor sessions", Q_ACL_REMOTE_INFO, NotAvailableAction),
};

constexpr MenuEntry kReplicationMenu[] = {
    Title(0, ""),
    Action(0, "Info", kAnyone, NotAvailableAction),
    Nested(0, "Nodes", kAnyone, BuildReplicationNodesMenu, titles::kReplicationNodes),
    Action(0, "Refresh", kAnyone, NotAvailableAction),
    Action(0, "Cross Check", kAnyone, NotAvailableAction),
    Action(0, "Notify Node Down", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kReplicationNodesMenu[] = {
    Title(0, ""),
    Action(0, "List", kAnyone, NotAvailableAction),
    Action(0, "Add", kAnyone, NotAvailableAction),
    Action(0, "Delete", kAnyone, NotAvailableAction),
    Action(0, "Test", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kIpFilterMenu[] = {
    Title(0, ""),
    Action(0, "Add", kAnyone, NotAvailableAction),
    Action(0, "Remove", kAnyone, NotAvailableAction),
    Action(0, "List", kAnyone, NotAvailableAction),
    Action(0, "Status", kAnyone, NotAvailableAction),
};

constexpr MenuEntry kToolsMenu[] = {
    Title(0, ""),
    Action(0, "Ping", kAnyone, NotAvailableAction),
    Action(0, "Tracert", kAnyone, NotAvailableAction),
};
// clang-format on

// Replication and the IP filter are actions of the main menu that run a menu of their own,
// so the main menu pauses when they are left.
int32_t RunOwnMenu(QSessionHandle session, const MenuItem &item, MenuBuilder build,
                   const char *title) {
    Menu menu;
    build(&menu, item.acl, item.header);
    RunMenu(session, menu, title, item.header, false);
    return 0;
}

}  // namespace

int BuildLogsMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kLogs, kLogsMenu);
}

int BuildBackupMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kBackup, kBackupMenu);
}

int BuildMonitoringMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kMonitoring, kMonitoringMenu);
}

int BuildReplicationMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kReplication, kReplicationMenu);
}

int BuildReplicationNodesMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kReplicationNodes, kReplicationNodesMenu);
}

int BuildIpFilterMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kIpFilter, kIpFilterMenu);
}

int BuildToolsMenu(Menu *menu, uint32_t acl, const char *header) {
    return BuildFromTable(menu, acl, header, titles::kTools, kToolsMenu);
}

int32_t RunReplicationMenu(QSessionHandle session, const MenuItem &item) {
    return RunOwnMenu(session, item, BuildReplicationMenu, titles::kReplication);
}

int32_t RunIpFilterMenu(QSessionHandle session, const MenuItem &item) {
    return RunOwnMenu(session, item, BuildIpFilterMenu, titles::kIpFilter);
}
