// The replication menu against a domain of simulators: nodes added from the console, a cross
// check and a node list that meet a stopped node and a node that missed an addition, and a
// test and a list of nodes on an HSM that has none.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "console_e2e_support.h"
#include "sim_domain.h"

namespace {

std::vector<std::string> NodeConsoleArgs(SimDomain &domain, size_t node) {
    return {domain[node].host(), "master", "-p", std::to_string(domain.port())};
}

// From the main menu: "Replication..." and one of its items.
void OpenReplicationItem(PtyDriver &console, const char *item) {
    console.Send("40\n");
    console.Expect("HSM - Replication\n\n");
    Answer(console, "Option : ", item);
}

// From the replication menu's prompt back to the main menu's, which pauses first.
void LeaveReplicationMenu(PtyDriver &console) {
    Answer(console, "Option : ", "0\n");
    Answer(console, "Press ENTER key to continue...", "\n");
    console.Expect("Option : ");
}

// After an item of the nodes menu, back to the main menu.
void LeaveNodesMenu(PtyDriver &console) {
    Answer(console, "Press ENTER key to continue...", "\n");
    Answer(console, "Option : ", "0\n");
    LeaveReplicationMenu(console);
}

// The line of one node in the node list.
std::string NodeLine(const std::string &address, unsigned count, const char *mark) {
    char line[128];
    std::snprintf(line, sizeof line, "%-15s      %02u node(s)         %s\n", address.c_str(), count,
                  mark);
    return line;
}

// "List" of the nodes menu; answers the node list up to its closing line.
std::string ListNodesFromConsole(PtyDriver &console) {
    OpenReplicationItem(console, "2\n");
    const size_t begin = console.Output().size();
    Answer(console, "Option : ", "1\n");
    EXPECT_TRUE(console.Expect("\n====================\n\n"));
    std::string list = console.Output().substr(begin);
    LeaveNodesMenu(console);
    return list;
}

void AddNodeFromConsole(PtyDriver &console, const std::string &address) {
    OpenReplicationItem(console, "2\n");
    Answer(console, "Option : ", "2\n");
    Answer(console, "Node IP Address to Add : ", address + "\n");
    console.Expect("\nReplication Node IP " + address + " successfully added.\n\n");
    LeaveNodesMenu(console);
}

TEST(ReplicationConsole, CrossCheckAndListReportEachNodeAndTheOneWithAShorterList) {
    SimDomain domain(3);
    const std::string a = domain[0].host(), b = domain[1].host(), c = domain[2].host();
    PtyDriver console(TARSEL_PATH, NodeConsoleArgs(domain, 0));
    ASSERT_TRUE(LogIn(console, domain[0].initPassword()));
    AddNodeFromConsole(console, c);
    // C is away while B joins, so its list holds only A.
    domain.Pause(2);
    AddNodeFromConsole(console, b);
    domain.Resume(2);
    domain[1].Stop();

    OpenReplicationItem(console, "4\n");
    console.Expect("Node List\n " + b + "\n " + c + "\n");
    console.Expect("Inform credential to contact the nodes :");
    Answer(console, "HSM User ID : ", "master\n");
    const size_t begin = console.Output().size();
    AnswerSecret(console, "HSM User Password :", domain[0].initPassword() + "\n");
    ASSERT_TRUE(console.Expect("Replication Cross Check finished.\n"));
    const std::string report = console.Output().substr(begin);
    EXPECT_NE(report.find("\nNode " + a + " (this):\n\n  " + b + " ... FAIL. "), std::string::npos)
        << report;
    EXPECT_NE(report.find("\n  " + c + " ... OK\n"), std::string::npos) << report;
    EXPECT_NE(report.find("\nNode " + b + " :\n\nFAIL. "), std::string::npos) << report;
    EXPECT_NE(report.find("\nNode " + c + " :\n\n  " + a +
                          " ... OK\n!! This HSM node list lacks symmetry with the first HSM !!\n"),
              std::string::npos)
        << report;
    EXPECT_EQ(report.find("lacks symmetry"), report.rfind("lacks symmetry"));
    Answer(console, "Press ENTER key to continue...", "\n");
    LeaveReplicationMenu(console);

    // B is down and C lacks B; both are marked.
    const std::string list = ListNodesFromConsole(console);
    const std::string check = "!! please check !!";
    const size_t self = list.find("Node List -\n" + NodeLine(a, 2, "this") + "    version   : ");
    EXPECT_NE(list.find("    node list :\n        " + b + "\n        " + c + "\n" +
                            NodeLine(b, 0, check.c_str()) + "    <err 00000459>\n" +
                            NodeLine(c, 1, check.c_str()) + "    version   : ",
                        self),
              std::string::npos)
        << list;
    EXPECT_NE(list.find("    node list :\n        " + a + "\n\n====================\n\n", self),
              std::string::npos)
        << list;
    ExitFromMainMenu(console);
}

TEST(ReplicationConsole, TestAndListWithAnEmptyNodeList) {
    SimDomain domain(1);
    PtyDriver console(TARSEL_PATH, NodeConsoleArgs(domain, 0));
    ASSERT_TRUE(LogIn(console, domain[0].initPassword()));
    OpenReplicationItem(console, "2\n");
    Answer(console, "Option : ", "4\n");
    console.Expect("There is no entry in the replication node list.\n");
    LeaveNodesMenu(console);
    const std::string list = ListNodesFromConsole(console);
    EXPECT_NE(list.find("Node List -\n" + NodeLine(domain[0].host(), 0, "this")), std::string::npos)
        << list;
    EXPECT_NE(list.find("\n    node list :\n    <empty>\n\n====================\n\n"),
              std::string::npos)
        << list;
    ExitFromMainMenu(console);
}

}  // namespace
