// Menus under "HSM" for its administration: logs, backup, monitoring, replication, IP
// filter and network tools.
#include "apps/tool_actions.h"
#include "console/menus/menu_table.h"
#include "hsm/backup_actions.h"
#include "hsm/hsm_actions.h"
#include "hsm/ip_filter_actions.h"
#include "hsm/log_actions.h"
#include "hsm/replication_actions.h"

using namespace menu_table;

namespace {

constexpr MenuEntry kLogsItems[] = {
    Title(0, ""),
    Action(0, "Retrieve", Q_ACL_REMOTE_INFO, RetrieveLogs),
    Action(0, "Clear", Q_ACL_REMOTE_INFO, ClearLogs),
    Action(0, "Follow", Q_ACL_REMOTE_INFO, FollowLogs),
};

constexpr MenuEntry kBackupItems[] = {
    Title(0, ""),
    Action(0, "Backup", Q_ACL_BACKUP, CreateBackup),
    Action(0, "Restore", Q_ACL_BACKUP, RestoreBackup),
};

constexpr MenuEntry kMonitoringItems[] = {
    Title(0, ""),
    Action(0, "Monitor resources", Q_ACL_REMOTE_INFO, MonitorResources),
    Action(0, "Monitor sessions", Q_ACL_REMOTE_INFO, MonitorSessions),
};

constexpr MenuEntry kReplicationNodesItems[] = {
    Title(0, ""),
    Action(0, "List", kAnyone, ListNodes),
    Action(0, "Add", kAnyone, AddNode),
    Action(0, "Delete", kAnyone, DeleteNode),
    Action(0, "Test", kAnyone, TestNode),
};
constexpr MenuDefinition kReplicationNodesMenu =
    DefineMenu("HSM - Replication - Nodes", kReplicationNodesItems);

constexpr MenuEntry kReplicationItems[] = {
    Title(0, ""),
    Action(0, "Info", kAnyone, ShowReplicationAction),
    Nested(0, "Nodes", kAnyone, kReplicationNodesMenu),
    Action(0, "Refresh", kAnyone, RefreshReplication),
    Action(0, "Cross Check", kAnyone, CrossCheckNodes),
    Action(0, "Notify Node Down", kAnyone, NotifyNodeDown),
};

constexpr MenuEntry kIpFilterItems[] = {
    Title(0, ""),
    Action(0, "Add", kAnyone, AddFilterEntry),
    Action(0, "Remove", kAnyone, RemoveFilterEntry),
    Action(0, "List", kAnyone, ListFilterEntries),
    Action(0, "Status", kAnyone, ToggleFilter),
};

constexpr MenuEntry kToolsItems[] = {
    Title(0, ""),
    Action(0, "Ping", kAnyone, PingAction),
    Action(0, "Tracert", kAnyone, TraceRouteAction),
};

}  // namespace

constexpr MenuDefinition kLogsMenu = DefineMenu("HSM - Logs", kLogsItems);
constexpr MenuDefinition kBackupMenu = DefineMenu("HSM - Backup", kBackupItems);
constexpr MenuDefinition kMonitoringMenu = DefineMenu("HSM - Monitoring", kMonitoringItems);
constexpr MenuDefinition kReplicationMenu = DefineMenu("HSM - Replication", kReplicationItems);
constexpr MenuDefinition kIpFilterMenu = DefineMenu("HSM - IP Filter", kIpFilterItems);
constexpr MenuDefinition kToolsMenu = DefineMenu("HSM - Tools", kToolsItems);
