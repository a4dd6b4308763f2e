#pragma once
// Helpers shared by the prompt primitives; not for use outside console/.

#include <cstddef>
#include <cstring>

#include "console/terminal.h"

namespace prompt_internal {

// Lines are read through a scratch buffer of this size before being copied.
inline constexpr size_t kScratchLine = 4096;

inline constexpr const char *kCancelledText = "Operation cancelled!";

// Prints the prompt (if any) and flushes, so the cursor waits after it.
inline void ShowPrompt(const char *prompt) {
    if (prompt != nullptr) OutPrintf("%s", prompt);
    CurrentTerminal().FlushOut();
}

inline void DropTrailingNewline(char *text) {
    size_t n = strlen(text);
    if (n > 0 && text[n - 1] == '\n') text[n - 1] = '\0';
}

// Zeroes memory in a way the optimiser keeps: scratch buffers may have held a secret.
inline void Wipe(void *data, size_t length) {
    explicit_bzero(data, length);
}

}  // namespace prompt_internal
