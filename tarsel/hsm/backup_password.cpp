// The password that protects a backup file.
#include <cstring>

#include "app/process_state.h"
#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"
#include "hsm/backup_actions.h"

size_t AskMasked(const char *prompt, char (&buffer)[kBackupPasswordBuffer]) {
    OutPrintf("%s", prompt);
    CurrentTerminal().FlushOut();
    ReadSecret(buffer, sizeof buffer);
    OutPrintf("\n");
    return strlen(buffer);
}

bool ReadBackupPassword(char (&password)[kBackupPasswordBuffer]) {
    const size_t minimum = gState.fwAtLeast_3_9_0_2 ? 8 : 16;
    OutPrintf("%s\n", gState.fwAtLeast_3_9_0_2
                          ? "Inform password to protect backup file (8 to 32 characters): "
                          : "Inform password to protect backup file (16 to 32 characters): ");
    size_t length = 0;
    do {
        WipeSecret(password, sizeof password);
        length = AskMasked("Password: ", password);
        if (length == 0) {
            PrintCancelled();
            return false;
        }
    } while (length < minimum);
    Secret<char[kBackupPasswordBuffer]> confirmation;
    AskMasked("Confirm password: ", confirmation.value);
    if (memcmp(password, confirmation.value, kBackupPasswordBuffer) != 0) {
        ErrPrintf("\n%s\n", "Password differs from confirmation!");
        return false;
    }
    return true;
}
