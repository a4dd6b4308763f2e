// "Backup" of the menu "HSM - Backup": the whole HSM into an encrypted local file.
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"
#include "hsm/backup_actions.h"

int32_t CreateBackup(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    Secret<char[kBackupPasswordBuffer]> password;
    if (!ReadBackupPassword(password.value)) return 1;
    char path[kBackupPathChars + 1] = {};
    if (ReadLine("Local file to save backup: ", path, kBackupPathChars) != kPromptOk) {
        PrintCancelled();
        return 1;
    }
    if (CheckOverwrite(path) != kPromptOk) return 1;
    const uint32_t rc = QBackupData(session, path, password.value, Q_BACKUP_CREATE);
    if (rc != Q_OK) {
        PrintError("Error creating backup.", rc);
        return static_cast<int32_t>(rc);
    }
    ErrPrintf("\n%s\n\n", "Backup created successfully.");
    return 0;
}
