// "List": one line per object of the partition with its type and flags.
#include <string>
#include <vector>

#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "keys/algorithm_tables.h"
#include "keys/key_access.h"
#include "keys/key_actions.h"
#include "keys/name_list.h"

namespace {

constexpr size_t kLabelSize = 1024;

struct ObjectListEntry {
    const char *typeName = "unknown";
    uint32_t exportFlag = 0;
    bool temporary = false;
    char label[kLabelSize + 1] = {};
};

uint32_t ReadWord(QKeyHandle key, uint32_t param, uint32_t *value) {
    uint32_t length = sizeof *value;
    return QGetKeyParam(key, param, value, &length, 0);
}

// The label is optional: an object without metadata lists with an empty one.
void ReadLabel(QSessionHandle session, const char *name, char (&label)[kLabelSize + 1]) {
    OwnedObjMetadata metadata;
    if (QManageObjMetadata(session, Q_METADATA_OPEN, name, metadata.Out(), 0) != 0) return;
    uint32_t length = kLabelSize;
    if (QGetObjMetadata(metadata.Get(), Q_METADATA_LABEL, label, &length, 0) != 0) label[0] = '\0';
}

uint32_t ReadEntry(QSessionHandle session, const std::string &name, uint32_t option,
                   ObjectListEntry *entry) {
    OwnedKey key;
    uint32_t status = QGetUserKey(session, name.c_str(), option, key.Out());
    uint32_t algorithm = 0;
    uint32_t length = 0;
    uint32_t exportAttribute = 0;
    if (status == 0) status = ReadWord(key.Get(), Q_KEY_PARAM_ALGORITHM, &algorithm);
    if (status == 0) {
        entry->typeName = AlgorithmName(algorithm);
        status = ReadWord(key.Get(), Q_KEY_PARAM_LENGTH, &length);
    }
    if (status == 0) status = ReadWord(key.Get(), Q_KEY_PARAM_EXPORT, &entry->exportFlag);
    if (status == 0) status = ReadWord(key.Get(), Q_KEY_PARAM_ATTRIBUTE, &exportAttribute);
    if (status != 0) return status;
    uint32_t temporary = 1;  // an unreadable flag counts as persistent
    if (ReadWord(key.Get(), Q_KEY_PARAM_TEMPORARY, &temporary) != 0) temporary = 1;
    entry->temporary = temporary == 0;
    if (gState.fwAtLeast_3_9_0_0) ReadLabel(session, name.c_str(), entry->label);
    return 0;
}

}  // namespace

int32_t ListObjectsAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    std::vector<std::string> names;
    uint32_t status = CollectNames(session, QListObjs, &names);
    if (status == 0) {
        OutPrintf("%-41s %-20s %-1s %-1s %-12s\n", "Name", "Type", "T", "E", "Label");
        OutPrintf("%s\n", std::string(80, '=').c_str());
        const uint32_t option = KeyOpenOption(session);
        // Every object gets its line; the status that counts is the last object's.
        for (const std::string &name : names) {
            ObjectListEntry entry;
            status = ReadEntry(session, name, option, &entry);
            if (status == 0) {
                OutPrintf("%-41s %-20s %-1s %-1s %-12s\n", name.c_str(), entry.typeName,
                          entry.temporary ? "y" : "n", entry.exportFlag == 1 ? "n" : "y",
                          entry.label);
            } else {
                OutPrintf("%-41s %-s (%d)%8s %-1s %-1s %-12s\n", name.c_str(), "error",
                          static_cast<int>(status), "", "x", "x", "n/a");
            }
        }
        OutPrintf("\n%s%d\n ", "Total of objects: ", static_cast<int>(names.size()));
    }
    if (status != 0) PrintError("Error listing users.", status);
    return static_cast<int32_t>(status);
}
