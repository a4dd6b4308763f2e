#include <cstdio>
#include <cstring>

#include "admin/user_changes.h"
#include "admin/user_dialogs.h"
#include "console/prompts.h"
#include "console/terminal.h"

uint32_t BlockUnblockUser(QSessionHandle session, const char *userId, bool blocked) {
    OutPrintf("%s '%s' %s %s.\n\n", "User", userId, "is currently ",
              blocked ? "blocked" : "unblocked");
    char question[128];
    snprintf(question, sizeof question, "%s '%s' %s",
             blocked ? "Confirm unblocking user" : "Confirm blocking user", userId, "(y/[n]): ");
    if (AskYesNo(question, 0) != 1) {
        PrintCancelled();
        return Q_OK;
    }
    const uint32_t code = blocked ? Q_USER_PARAM_UNBLOCK : Q_USER_PARAM_BLOCK;
    const uint32_t rc = QSetUserParam(session, code, userId, uint32_t(strlen(userId)), 0);
    if (rc != Q_OK) {
        PrintError(blocked ? "Error unblocking user." : "Error blocking user.", rc);
        return rc;
    }
    PrintUserResult("User", userId, blocked ? "successfully unblocked." : "successfully blocked.");
    return Q_OK;
}
