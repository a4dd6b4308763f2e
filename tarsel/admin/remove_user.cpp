// "Remove": an account and every key of its partition, after a warning.
#include <cstdio>

#include "admin/user_actions.h"
#include "admin/user_dialogs.h"
#include "console/prompts.h"

int32_t RemoveUser(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char userId[kUserIdBuffer] = {};
    if (!ReadUserId(userId)) return kPromptCancelled;

    static constexpr const char *kWarning[] = {
        "Warning",
        "\n",
        "Removing the user partition implies the removal of all cryptographic keys",
        "that may exist in the partition. Information encrypted with these keys",
        "will not be able to be decrypted later.",
        "",
    };
    PrintBoxedBanner('*', kWarning);
    char question[128];
    snprintf(question, sizeof question, "%s '%s'. %s", "Confirm removing permanently user", userId,
             "(y/[n]): ");
    if (AskYesNo(question, 0) != 1) {
        PrintCancelled();
        return 0;
    }
    const uint32_t rc = QRemoveUser(session, userId);
    if (rc != Q_OK) {
        PrintError("Error removing user.", rc);
        return int32_t(rc);
    }
    PrintUserResult("User", userId, "successfully removed.");
    return 0;
}
