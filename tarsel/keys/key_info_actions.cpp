// Actions of the key information screen: setting the label, blocking and unblocking.
#include "keys/key_info_actions.h"

#include <cstring>
#include <vector>

#include "console/menu.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "keys/key_info_sections.h"

namespace {

// Writes a new label into the object's metadata.
void SetLabel(QSessionHandle session, const char *name) {
    char label[1025] = {};
    if (ReadLine("Label : ", label, sizeof label - 1) != kPromptOk) {
        PrintCancelled();
        return;
    }
    OwnedObjMetadata metadata;
    uint32_t status = QCreateObjMetadata(metadata.Out(), 0);
    if (status == 0) {
        status = QSetObjMetadata(metadata.Get(), Q_METADATA_LABEL, label,
                                 static_cast<uint32_t>(strlen(label)), 0);
    }
    if (status == 0) {
        QObjMetadataHandle handle = metadata.Get();
        status = QManageObjMetadata(session, Q_METADATA_WRITE, name, &handle, 0);
    }
    if (status != 0) {
        PrintError("Error setting key attribute.", status);
        return;
    }
    ErrPrintf("\n%s\n\n", "Label changed successfully.");
}

// Blocks the key, or unblocks it when `block` is false. The HSM decides whether the
// object may change.
void SetBlocked(QKeyHandle key, bool block) {
    const uint32_t value = block ? 1 : 0;
    if (uint32_t status = QSetKeyParam(key, Q_KEY_PARAM_BLOCKED, &value, sizeof value, 0);
        status != 0) {
        PrintError("Error setting key attribute.", status);
        return;
    }
    ErrPrintf("\n%s\n\n", block ? "Key blocked successfully." : "Key unblocked successfully.");
}

}  // namespace

bool RunKeyInfoAction(QSessionHandle session, QKeyHandle key, const char *name,
                      const ShownObject &shown) {
    std::vector<const char *> actions = {"Set label"};
    const bool offersBlocking = !IsMapObject(shown.algorithm);
    if (offersBlocking) actions.push_back(shown.blocked ? "Unblock" : "Block");
    int32_t choice = 0;
    if (ChooseFromList(actions.data(), actions.size(), true, &choice) != kPromptOk) {
        OutPrintf("\n\n%s\n", "Invalid option.");
        return false;
    }
    switch (choice) {
        case 0:
            return false;
        case 1:
            SetLabel(session, name);
            return true;
        default:
            SetBlocked(key, !shown.blocked);
            return true;
    }
}
