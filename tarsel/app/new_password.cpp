#include "app/new_password.h"

#include <cstring>
#include <vector>

#include "console/prompts.h"
#include "console/terminal.h"
#include "device/secret.h"

namespace {

size_t ReadMasked(const char *prompt, char *buffer, size_t capacity) {
    OutPrintf("%s", prompt);
    CurrentTerminal().FlushOut();
    ReadSecret(buffer, capacity);
    OutPrintf("\n");
    return strnlen(buffer, capacity);
}

}  // namespace

uint32_t ReadNewPassword(const char *prompt, const char *confirmPrompt, size_t minChars,
                         char *password, size_t capacity) {
    size_t length = 0;
    do {
        length = ReadMasked(prompt, password, capacity);
        if (length == 0) return kNewPasswordCancelled;
    } while (length < minChars);

    std::vector<char> confirmation(capacity, '\0');
    ReadMasked(confirmPrompt, confirmation.data(), capacity);
    const bool same = memcmp(password, confirmation.data(), capacity) == 0;
    WipeSecret(confirmation.data(), capacity);
    if (!same) {
        ErrPrintf("\n%s\n", "Password differs from confirmation!");
        return kNewPasswordDiffers;
    }
    return kNewPasswordOk;
}
