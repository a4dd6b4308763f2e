// "Add", "Delete" and "Test" of the node list, "Notify Node Down" and "Refresh".
#include <arpa/inet.h>

#include <cstring>

#include "console/prompts.h"
#include "console/terminal.h"
#include "hsm/replication_actions.h"

namespace {

constexpr uint8_t kTest = 1;
constexpr uint8_t kNotifyDown = 2;
constexpr uint8_t kAdd = 3;
constexpr uint8_t kDelete = 4;
constexpr size_t kAddressChars = 15;

void PrintNodeResult(const char *subject, const char *address, const char *words) {
    OutPrintf("\n%s %s %s\n\n", subject, address, words);
}

// Asks an address and runs `operation` on it; the words say how it went.
int32_t AskAndOperate(QSessionHandle session, const MenuItem &item, const char *prompt,
                      uint8_t operation, const char *subject, const char *success,
                      const char *failure) {
    PrintActionHeading(item);
    char address[kAddressChars + 1] = {};
    if (!ReadLineOrCancel(prompt, address, sizeof address)) return 1;
    const uint32_t rc = ReplicationNodeOperation(session, operation, address);
    if (rc != Q_OK) {
        PrintError(failure, rc);
        return int32_t(rc);
    }
    PrintNodeResult(subject, address, success);
    return 0;
}

}  // namespace

uint32_t ReplicationNodeOperation(QSessionHandle session, uint8_t operation, const char *address) {
    QReplicationNodeOp op{};
    op.operation = operation;
    if (inet_pton(AF_INET, address, op.address) != 1) return Q_ERR_INVALID_PARAMETER;
    return QAdmOperation(session, Q_ADM_REPLICATION_NODE, &op, sizeof op, 0);
}

uint32_t ReadReplicationNodes(QSessionHandle session, std::vector<std::string> *nodes) {
    QReplicationNodes list{};
    uint32_t flagWord = 0, length = sizeof list;
    const uint32_t rc = QGetHsmInfo(session, &flagWord, Q_INFO_REPLICATION, &list, &length, 0);
    if (rc != Q_OK) return rc;
    nodes->clear();
    for (uint32_t i = 0; i < list.count && i < Q_REPL_MAX_NODES; ++i)
        nodes->push_back(std::string(list.nodes[i], strnlen(list.nodes[i], sizeof list.nodes[i])));
    return Q_OK;
}

uint32_t ReadNodesOrReport(QSessionHandle session, std::vector<std::string> *nodes) {
    const uint32_t rc = ReadReplicationNodes(session, nodes);
    if (rc != Q_OK) PrintError("Error recovering HSM info.", rc);
    return rc;
}

int32_t AddNode(QSessionHandle session, const MenuItem &item) {
    return AskAndOperate(session, item, "Node IP Address to Add : ", kAdd, "Replication Node IP",
                         "successfully added.", "Error adding IP to replication list.");
}

int32_t DeleteNode(QSessionHandle session, const MenuItem &item) {
    return AskAndOperate(session, item, "Node IP Address to Delete : ", kDelete,
                         "Replication Node IP", "successfully removed.",
                         "Error removing IP to replication list.");
}

int32_t NotifyNodeDown(QSessionHandle session, const MenuItem &item) {
    return AskAndOperate(session, item, "Node Down IP Address : ", kNotifyDown,
                         "Node Down notification of", "successfully sent.",
                         "Error notifying node down IP.");
}

int32_t TestNode(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    std::vector<std::string> nodes;
    if (const uint32_t rc = ReadNodesOrReport(session, &nodes); rc != Q_OK) return int32_t(rc);
    if (nodes.empty()) {
        OutPrintf("There is no entry in the replication node list.\n");
        return 0;
    }
    OutPrintf("%s : \n", "Nodes");
    for (size_t i = 0; i < nodes.size(); ++i)
        OutPrintf(" %d - %s\n", int(i + 1), nodes[i].c_str());
    int32_t chosen = 0;
    if (ReadIntInRange("Node to test [choose number]", &chosen, 1, int32_t(nodes.size()), false) !=
        kPromptOk) {
        PrintCancelled();
        return 1;
    }
    const char *address = nodes[size_t(chosen - 1)].c_str();
    const uint32_t rc = ReplicationNodeOperation(session, kTest, address);
    if (rc != Q_OK) {
        PrintError("Error testing HSM IP.", rc);
        return int32_t(rc);
    }
    PrintNodeResult("Connection to Replication Node IP", address, "successfully tested.");
    return 0;
}

int32_t RefreshReplication(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    if (AskYesNo("Update Replication Service (y/[n]):", 0) != 1) return 1;
    const uint32_t rc = QAdmOperation(session, Q_ADM_REPLICATION_REFRESH, nullptr, 0, 0);
    if (rc != Q_OK) {
        PrintError("Error updating replication HSM service.", rc);
        return int32_t(rc);
    }
    OutPrintf("Replication service updated successfully.\n");
    return 0;
}
