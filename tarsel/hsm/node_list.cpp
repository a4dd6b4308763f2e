// "List" of "HSM - Replication - Nodes", and the node-list display it shares with the tools.
#include "hsm/node_list.h"

#include <arpa/inet.h>

#include <cstring>
#include <vector>

#include "apps/tool_actions.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "hsm/replication_actions.h"

namespace {

const QNodeRecord *FindSelf(const QNodeRecord *records, size_t count) {
    for (size_t i = 0; i < count; ++i)
        if (records[i].self != 0) return &records[i];
    return nullptr;
}

const char *Mark(const QNodeRecord &record, const QNodeRecord *self) {
    if (record.self != 0) return "this";
    const bool inStep = record.status == Q_OK && self != nullptr &&
                        record.nodeCount == self->nodeCount &&
                        std::strncmp(record.version, self->version, sizeof record.version) == 0;
    return inStep ? "" : "!! please check !!";
}

void PrintListed(const QNodeRecord &record) {
    OutPrintf("    node list :\n");
    if (record.nodeCount == 0) {
        OutPrintf("    <empty>\n");
        return;
    }
    for (uint32_t i = 0; i < record.nodeCount && i < Q_NODE_RECORD_LISTED; ++i) {
        char address[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, record.nodes[i], address, sizeof address);
        OutPrintf("        %s\n", address);
    }
    if (record.nodeCount > Q_NODE_RECORD_LISTED) OutPrintf("        ...\n");
}

}  // namespace

void PrintNodeList(const QNodeRecord *records, size_t count) {
    const QNodeRecord *self = FindSelf(records, count);
    OutPrintf("Node List -\n");
    for (size_t i = 0; i < count; ++i) {
        const QNodeRecord &record = records[i];
        char address[sizeof record.address + 1] = {};
        std::memcpy(address, record.address, sizeof record.address);
        OutPrintf("%-15s      %02u node(s)         %s\n", address, record.nodeCount,
                  Mark(record, self));
        if (record.status != Q_OK) {
            OutPrintf("    <err %08X>\n", record.status);
            continue;
        }
        OutPrintf("    version   : %.*s\n", int(sizeof record.version), record.version);
        PrintListed(record);
    }
    OutPrintf("\n====================\n\n");
}

int32_t ListNodes(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    std::vector<std::string> nodes;
    if (const uint32_t rc = ReadNodesOrReport(session, &nodes); rc != Q_OK) return int32_t(rc);
    return RunHsmTool(session, Q_TOOL_NODE_LIST);
}
