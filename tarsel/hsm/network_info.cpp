// The Network section: interfaces, routes, SNMP and the IP filter.
#include <arpa/inet.h>

#include <bit>
#include <sstream>
#include <string>
#include <vector>

#include "console/terminal.h"
#include "hsm/hsm_actions.h"
#include "hsm/info_text.h"

namespace {

// The prefix length of a dotted mask; 0 when it is not one.
int PrefixLength(const std::string &mask) {
    in_addr address{};
    if (inet_pton(AF_INET, mask.c_str(), &address) != 1) return 0;
    return std::popcount(address.s_addr);
}

std::vector<std::string> SplitEntries(const std::string &joined) {
    std::vector<std::string> entries;
    std::istringstream in(joined);
    std::string entry;
    while (std::getline(in, entry, ';'))
        if (!entry.empty()) entries.push_back(entry);
    return entries;
}

void ShowInterface(int index, const QNetInterface &entry, int width) {
    const std::string address =
        entry.bondMember != 0
            ? "Slave"
            : FieldText(entry.address) + "/" + std::to_string(PrefixLength(FieldText(entry.mask)));
    // The index follows the label, so the label column is narrower by its two characters.
    if (entry.linkUp != 0)
        OutPrintf("%*s %d : %-19s       %s %-6s %u Mb/s\n", width - 2, "Interface", index,
                  address.c_str(), "Link", "up", entry.speedMbps);
    else
        OutPrintf("%*s %d : %-19s       %s %s\n", width - 2, "Interface", index, address.c_str(),
                  "Link", "down");
}

uint32_t CollectFilterEntry(const char *hostIp, const char *userId, void *context, int isFinal) {
    if (!isFinal)
        static_cast<std::vector<std::string> *>(context)->push_back(
            std::string(hostIp) + (userId[0] != '\0' ? std::string(" ") + userId : ""));
    return 0;
}

uint32_t ShowIpFilter(QSessionHandle session, int width) {
    uint32_t enabled = 0;
    uint32_t rc =
        QIPFilterOperation(session, Q_IPF_STATUS, nullptr, nullptr, nullptr, nullptr, &enabled, 0);
    if (rc != Q_OK) {
        PrintInfoError("Error querying IP Filter status.", rc);
        return rc;
    }
    PrintInfoLine(width, "IP Filter", enabled != 0 ? "Enabled" : "Disabled");
    std::vector<std::string> entries;
    rc = QIPFilterOperation(session, Q_IPF_STATUS, nullptr, nullptr, CollectFilterEntry, &entries,
                            &enabled, 0);
    if (rc != Q_OK) {
        PrintInfoError("Error listing IP Filter.", rc);
        return rc;
    }
    PrintInfoList(width, "IP Filter List", entries);
    return 0;
}

}  // namespace

uint32_t ShowNetworkInfo(QSessionHandle session, int width) {
    QNetInfo info{};
    const uint32_t rc = QGetNetInfo(session, &info, 0);
    if (rc != Q_OK) {
        PrintInfoError("Error recovering HSM network info.", rc);
        return rc;
    }
    for (uint32_t i = 0; i < info.interfaceCount && i < std::size(info.interfaces); ++i)
        ShowInterface(static_cast<int>(i), info.interfaces[i], width);
    const std::string gatewayMask = FieldText(info.gatewayMask);
    PrintInfoLine(
        width, "Default Gateway",
        gatewayMask == "255.255.255.255" ? "Not defined" : FieldText(info.gateway).c_str());
    const std::string bond = FieldText(info.bond);
    if (bond.empty())
        PrintInfoLine(width, "Bond", "Not defined");
    else
        OutPrintf("%*s : %s - %s\n", width, "Bond", bond.c_str(), FieldText(info.bondMode).c_str());
    PrintInfoLine(width, "Sys Contact", FieldText(info.sysContact).c_str());
    PrintInfoLine(width, "Sys Location", FieldText(info.sysLocation).c_str());
    PrintInfoLine(width, "Community Name", FieldText(info.community).c_str());
    PrintInfoList(width, "Trap Targets", SplitEntries(FieldText(info.trapTargets)));
    PrintInfoList(width, "Routes", SplitEntries(FieldText(info.routes)));
    return ShowIpFilter(session, width);
}
