// "Key Backup": one object of the partition saved to a local file as a blob only an HSM with
// the same master key can open, and brought back from such a file.
#include "console/prompts.h"
#include "console/terminal.h"
#include "keys/key_actions.h"
#include "keys/key_generation.h"

namespace {

constexpr size_t kPathSize = 256;

// Asks the object's name; an empty answer prints the cancellation and returns false.
bool AskObjectName(char (&name)[kObjectNameSize]) {
    if (ReadLine("Name (HSM) : ", name, sizeof name - 1) == kPromptOk) return true;
    PrintCancelled();
    return false;
}

// Writes the blob where the operator says, after the overwrite question. 0, 1 when the
// operator stopped, or Q_ERR_FILE (reported).
int32_t SaveBlob(const uint8_t *blob, uint32_t length) {
    char path[kPathSize + 1] = {};
    if (ReadLine("Local file to save backup: ", path, kPathSize) != kPromptOk) {
        PrintCancelled();
        return kPromptCancelled;
    }
    if (CheckOverwrite(path) != kPromptOk) return kPromptCancelled;
    if (WriteFile(path, blob, length) != kPromptOk) {
        ErrPrintf("\n%s %s\n", "Error writing the file.", path);
        return Q_ERR_FILE;
    }
    return 0;
}

}  // namespace

int32_t BackupObjectAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char name[kObjectNameSize] = {};
    if (!AskObjectName(name)) return kPromptCancelled;
    uint8_t *blob = nullptr;
    uint32_t length = 0;
    if (uint32_t status = QBackupObject(session, name, Q_BACKUP_OBJECT_EXPORT, &blob, &length, 0);
        status != 0) {
        PrintError("Error creating key backup.", status);
        return static_cast<int32_t>(status);
    }
    const int32_t result = SaveBlob(blob, length);
    QFree(blob);
    if (result == 0) ErrPrintf("\n%s %s\n\n", name, "successfully backed up.");
    return result;
}

int32_t RestoreObjectAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char name[kObjectNameSize] = {};
    if (!AskObjectName(name)) return kPromptCancelled;
    uint8_t *blob = nullptr;
    uint32_t length = 0;
    if (ReadFilePrompt("Local file to read backup: ", &blob, &length) != kPromptOk)
        return kPromptCancelled;
    const uint32_t status = QBackupObject(session, name, Q_BACKUP_OBJECT_IMPORT, &blob, &length, 0);
    QFree(blob);
    if (status != 0) {
        PrintError("Error restoring key backup.", status);
        return static_cast<int32_t>(status);
    }
    ErrPrintf("\n%s %s\n\n", name, "successfully restored.");
    return 0;
}
