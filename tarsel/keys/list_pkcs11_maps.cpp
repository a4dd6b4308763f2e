// "List(Pkcs11)": the partition's PKCS#11 maps with their targets and labels.
#include <cstring>
#include <string>
#include <vector>

#include "console/prompts.h"
#include "console/terminal.h"
#include "keys/key_actions.h"
#include "keys/name_list.h"

namespace {

constexpr size_t kTargetShown = 50;
constexpr size_t kLabelShown = 10;

// A label wider than its column is cut and marked, though the mark itself overflows.
std::string ShortLabel(const char *label) {
    std::string text(label, strnlen(label, sizeof(QPkcs11MapInfo::label)));
    if (text.size() > kLabelShown) text = text.substr(0, kLabelShown) + "...";
    return text;
}

}  // namespace

int32_t ListPkcs11MapsAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    std::vector<std::string> names;
    uint32_t status = CollectNames(session, QListPkcs11Maps, &names);
    if (status == 0) {
        OutPrintf("%-34s %-34s %-9s\n", "Name", "Target", "CKA_LABEL");
        OutPrintf("%s\n", std::string(80, '=').c_str());
        // The first map that cannot be read ends the printing; the total counts them all.
        for (const std::string &name : names) {
            QPkcs11MapInfo info{};
            status = QGetPkcs11Map(session, name.c_str(), 1, 0, &info);
            std::string target = "n/a";
            std::string label = "n/a";
            if (status == 0) {
                target.assign(info.target, strnlen(info.target, kTargetShown));
                label = ShortLabel(info.label);
            }
            OutPrintf("%-34s %-34s %-9s\n", name.c_str(), target.c_str(), label.c_str());
            if (status != 0) break;
        }
        OutPrintf("\n%s%d\n ", "Total of objects: ", static_cast<int>(names.size()));
    }
    if (status != 0) PrintError("Error listing users.", status);
    return static_cast<int32_t>(status);
}
