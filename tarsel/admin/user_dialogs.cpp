#include "admin/user_dialogs.h"

#include "console/prompts.h"
#include "console/terminal.h"

bool ReadUserId(char *userId) {
    const uint32_t status = ReadBoundedText("User ID: ", userId, kUserIdChars, 0, false);
    if (status == kPromptCancelled) PrintCancelled();
    if (status == kPromptRejected) PrintRefusal("Invalid string length.");
    return status == kPromptOk;
}

void PrintUserResult(const char *subject, const char *userId, const char *words) {
    ErrPrintf("\n\n%s '%s' %s\n", subject, userId, words);
}

void PrintRefusal(const char *text) {
    ErrPrintf("\n%s\n", text);
}

bool ReadOption(int32_t min, int32_t max, int32_t *choice) {
    const uint32_t status = ReadIntInRange("Option : ", choice, min, max, false);
    if (status == kPromptCancelled) PrintCancelled();
    return status == kPromptOk;
}
