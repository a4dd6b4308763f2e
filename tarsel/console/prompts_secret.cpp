// Echo-free entry of secrets and hexadecimal key material.
#include <cctype>
#include <cstring>

#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr int kBackspace = 8;
constexpr int kEndOfText = 3;

enum class KeyEntry { kSecret, kHexDigits };

// Reads keys until newline, end-of-text or end of input. A secret stops once the buffer is
// full, dropping the character that filled it; hexadecimal entry keeps reading but ignores
// digits that no longer fit. The buffer is always terminated. Returns the count, or -1 when
// the terminal could not be switched (nothing read, buffer untouched).
long ReadKeys(char *buffer, size_t capacity, KeyEntry kind) {
    Terminal &terminal = CurrentTerminal();
    if (!terminal.BeginSecretEntry()) return -1;
    memset(buffer, 0, capacity);
    size_t count = 0;
    for (;;) {
        int key = terminal.ReadChar();
        if (key < 0 || key == '\n' || key == kEndOfText) break;
        if (key == kBackspace) {
            if (count > 0) {
                OutPrintf("\b \b");
                buffer[--count] = '\0';
            }
            continue;
        }
        if (kind == KeyEntry::kHexDigits) {
            if (!isxdigit(key) || count + 1 >= capacity) continue;
            char digit = static_cast<char>(toupper(key));
            buffer[count++] = digit;
            OutPrintf("%c", digit);
            continue;
        }
        buffer[count++] = static_cast<char>(key);
        OutPrintf("*");
        if (count == capacity) {
            buffer[--count] = '\0';
            break;
        }
    }
    buffer[count] = '\0';
    terminal.EndSecretEntry();
    terminal.FlushOut();
    return static_cast<long>(count);
}

}  // namespace

uint32_t ReadSecret(char *buffer, size_t capacity) {
    long count = ReadKeys(buffer, capacity, KeyEntry::kSecret);
    return count < 0 ? kPromptCancelled : static_cast<uint32_t>(count);
}

uint32_t ReadHexMasked(char *buffer, size_t capacity) {
    long count = ReadKeys(buffer, capacity, KeyEntry::kHexDigits);
    if (count < 0) return kPromptCancelled;
    OutPrintf("\n");
    return static_cast<uint32_t>(count);
}
