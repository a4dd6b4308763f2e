// The Replication section, also the "Info" of the replication menu.
#include <string>
#include <vector>

#include "console/terminal.h"
#include "hsm/hsm_actions.h"
#include "hsm/info_text.h"

namespace {

std::string Hex8(const uint8_t (&bytes)[8]) {
    char text[17] = {};
    for (int i = 0; i < 8; ++i)
        std::snprintf(text + 2 * i, 3, "%02X", bytes[i]);
    return text;
}

void ShowPulsing(int width, const char *label, uint8_t active, uint32_t interval) {
    OutPrintf("%*s : %s - %4u secs\n", width, label, active != 0 ? "on" : "off", interval);
}

}  // namespace

uint32_t ShowReplicationInfo(QSessionHandle session, const QHsmInfoRecord *record,
                             uint32_t recordStatus, int width) {
    if (record == nullptr) {
        PrintInfoError("Error recovering HSM info.", recordStatus);
        return recordStatus;
    }
    const QReplicationStatus &status = record->replication;
    PrintInfoLine(width, "Pending Trans", Hex8(status.pendingTransactions).c_str());
    PrintInfoLine(width, "When", GmtText(status.when).c_str());
    PrintInfoLine(width, "State", ReplicationStateName(status.state));
    PrintInfoLine(width, "Joined Repl Dmn", status.joinedDomain != 0 ? "yes" : "no");
    OutPrintf("%*s : %s    %04hu\n", width, "Sync Point", Hex8(status.syncPoint).c_str(),
              static_cast<unsigned short>(status.syncCounter));
    std::vector<std::string> binds;
    for (uint32_t i = 0; i < status.bindCount && i < Q_REPL_MAX_BINDS; ++i) {
        char line[64] = {};
        std::snprintf(line, sizeof line, "[%d] - %s %s", static_cast<int>(i),
                      FieldText(status.binds[i].interfaceName).c_str(),
                      FieldText(status.binds[i].address).c_str());
        binds.push_back(line);
    }
    PrintInfoList(width, "Interface Bind", binds);
    ShowPulsing(width, "Manager Pulsing", status.managerPulsing, status.managerInterval);
    ShowPulsing(width, "Recovery Pulsing", status.recoveryPulsing, status.recoveryInterval);
    QReplicationNodes nodes{};
    uint32_t flagWord = 0, length = sizeof nodes;
    const uint32_t rc = QGetHsmInfo(session, &flagWord, Q_INFO_REPLICATION, &nodes, &length, 0);
    if (rc != Q_OK) {
        PrintInfoError("Error recovering HSM info.", rc);
        return rc;
    }
    std::vector<std::string> addresses;
    for (uint32_t i = 0; i < nodes.count && i < Q_REPL_MAX_NODES; ++i)
        addresses.push_back(FieldText(nodes.nodes[i]));
    PrintInfoList(width, "Node List", addresses);
    return 0;
}

int32_t ShowReplicationAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    QHsmInfoRecord record{};
    const uint32_t rc = ReadHsmInfoRecord(session, &record);
    return static_cast<int32_t>(
        ShowReplicationInfo(session, rc == Q_OK ? &record : nullptr, rc, kInfoWidth));
}
