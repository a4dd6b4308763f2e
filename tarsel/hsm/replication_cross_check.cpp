// "Cross Check": every node of the domain, reached with one set of credentials, tests every
// node of its own list; a node whose list is not as long as this HSM's is pointed out.
#include <cstring>

#include "app/process_state.h"
#include "app/prompted_session.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"
#include "hsm/replication_actions.h"

namespace {

constexpr uint8_t kTest = 1;

void PrintFail(uint32_t code) {
    char text[Q_ERROR_TEXT_SIZE] = {};
    QGetErrorString(code, nullptr, text);
    OutPrintf("%s. %s (%d)\n", "FAIL", text, int(code));
}

// From `session`, tests each node of `nodes`, one line each.
void TestEach(QSessionHandle session, const std::vector<std::string> &nodes) {
    for (const std::string &node : nodes) {
        OutPrintf("  %s %s ", node.c_str(), "...");
        CurrentTerminal().FlushOut();
        const uint32_t rc = ReplicationNodeOperation(session, kTest, node.c_str());
        if (rc == Q_OK)
            OutPrintf("OK\n");
        else
            PrintFail(rc);
    }
}

void CheckNode(const std::string &node, PromptedLogin &login, size_t expectedCount) {
    OutPrintf("\n%s %s :\n\n", "Node", node.c_str());
    std::memset(login.record.address, 0, sizeof login.record.address);
    std::strncpy(login.record.address, node.c_str(), sizeof login.record.address - 1);
    QSessionHandle session = 0;
    uint32_t rc = QOpenSession(&session, Q_LOGIN_PASSWORD, &login.record, sizeof login.record,
                               gState.sessionFlags);
    if (rc != Q_OK) {
        PrintFail(rc);
        return;
    }
    std::vector<std::string> nodes;
    rc = ReadReplicationNodes(session, &nodes);
    if (rc != Q_OK) {
        OutPrintf("%s : %s %s(%d)\n", node.c_str(), "Unable to recover replication node list.",
                  "FAIL", int(rc));
    } else {
        TestEach(session, nodes);
        if (nodes.size() != expectedCount)
            OutPrintf("!! This HSM node list lacks symmetry with the first HSM !!\n");
    }
    QCloseSession(&session, 0);
}

}  // namespace

int32_t CrossCheckNodes(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    std::vector<std::string> nodes;
    if (const uint32_t rc = ReadNodesOrReport(session, &nodes); rc != Q_OK) return int32_t(rc);
    OutPrintf("%s\n", "Node List");
    if (nodes.empty()) OutPrintf(" -\n");
    for (const std::string &node : nodes)
        OutPrintf(" %s\n", node.c_str());

    OutPrintf("%s\n", "Inform credential to contact the nodes :");
    Secret<PromptedLogin> login;
    login.value.record.port = gState.port;
    login.value.record.authMode = Q_AUTH_PASSWORD;
    if (ReadLoginPrompted(&login.value, false, true, true, gState.askOtp, nullptr) != 0) return 1;

    OutPrintf("\n%s %s (%s):\n\n", "Node", gState.hsmAddress, "this");
    TestEach(session, nodes);
    for (const std::string &node : nodes)
        CheckNode(node, login.value, nodes.size());
    OutPrintf("%s\n", "Replication Cross Check finished.");
    return 0;
}
