// "Restore" of the menu "HSM - Backup": the whole HSM replaced from a backup file.
#include <cstdio>

#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"
#include "hsm/backup_actions.h"

int32_t RestoreBackup(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    static constexpr const char *kWarning[] = {
        "Warning",
        "\n",
        "The HSM database will be fully overwritten.",
        "After the restore operation the HSM MUST be restarted.",
        "",
    };
    PrintBoxedBanner('*', kWarning);
    if (AskYesNo("Continue backup restoring (y/[n]): ", 0) != 1) {
        PrintCancelled();
        return 1;
    }
    char path[kBackupPathChars + 1] = {};
    if (ReadLine("Local file to read backup: ", path, kBackupPathChars) != kPromptOk) {
        PrintCancelled();
        return 1;
    }
    FILE *file = fopen(path, "rb");
    if (file == nullptr) {
        ErrPrintf("\n%s\n", "Error opening the file.");
        return 1;
    }
    fclose(file);
    const uint32_t flags = AskYesNo("Restore network information (y/[n]): ", 0) == 1
                               ? Q_BACKUP_RESTORE
                               : Q_BACKUP_RESTORE_NO_NETWORK;
    // Asked once: a restore takes the password the file was made with, whatever its length.
    Secret<char[kBackupPasswordBuffer]> password;
    AskMasked("Password: ", password.value);
    const uint32_t rc = QBackupData(session, path, password.value, flags);
    if (rc != Q_OK) {
        PrintError("Error restoring backup.", rc);
        return static_cast<int32_t>(rc);
    }
    OutPrintf("\n\n%s%s\n", "Backup restored successfully.",
              "The HSM may be in an inconsistent status, you need to restart the HSM before use.");
    return 0;
}
