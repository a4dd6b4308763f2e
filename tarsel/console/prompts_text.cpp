// Line, text and yes/no prompts.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "console/prompt_internal.h"
#include "console/prompts.h"

using prompt_internal::DropTrailingNewline;
using prompt_internal::kScratchLine;
using prompt_internal::ShowPrompt;
using prompt_internal::Wipe;

namespace {

constexpr const char *kAnswerYesOrNo = "Please, answer 'y' for yes or 'n' for no: ";
constexpr size_t kYesNoLine = 64;

// Reads one answer line without its newline; false for ENTER alone or end of input.
bool ReadAnswer(char (&line)[kYesNoLine]) {
    memset(line, 0, sizeof line);
    if (!CurrentTerminal().ReadLine(line, sizeof line) || line[0] == '\n') return false;
    DropTrailingNewline(line);
    return true;
}

}  // namespace

uint32_t ReadLine(const char *prompt, char *buffer, size_t capacity) {
    ShowPrompt(prompt);
    char scratch[kScratchLine] = {};
    if (!CurrentTerminal().ReadLine(scratch, sizeof scratch) || scratch[0] == '\n') {
        Wipe(scratch, sizeof scratch);
        return kPromptCancelled;
    }
    DropTrailingNewline(scratch);
    size_t length = strnlen(scratch, capacity);
    memcpy(buffer, scratch, length);
    if (length < capacity) buffer[length] = '\0';
    Wipe(scratch, sizeof scratch);
    return kPromptOk;
}

bool ReadLineOrCancel(const char *prompt, char *buffer, size_t size) {
    if (ReadLine(prompt, buffer, size - 1) == kPromptOk) return true;
    PrintCancelled();
    return false;
}

uint32_t ReadBoundedText(const char *label, char *buffer, size_t maxChars, size_t minChars,
                         bool showBounds) {
    if (showBounds) {
        OutPrintf("%s [%zu-%zu chars]: ", label, minChars, maxChars);
        ShowPrompt(nullptr);
    } else {
        ShowPrompt(label);
    }
    char scratch[kScratchLine] = {};
    uint32_t status = kPromptOk;
    if (!CurrentTerminal().ReadLine(scratch, sizeof scratch) || scratch[0] == '\n') {
        status = kPromptCancelled;
    } else {
        DropTrailingNewline(scratch);
        size_t length = strlen(scratch);
        if (length > maxChars) {
            status = kPromptRejected;
        } else {
            memcpy(buffer, scratch, length);
            buffer[length] = '\0';
        }
    }
    Wipe(scratch, sizeof scratch);
    return status;
}

uint32_t ReadRawLine(const char *prompt, char *buffer, size_t capacity) {
    ShowPrompt(prompt);
    buffer[0] = '\0';
    if (!CurrentTerminal().ReadLine(buffer, capacity) || buffer[0] == '\0') {
        return kPromptCancelled;
    }
    DropTrailingNewline(buffer);
    return kPromptOk;
}

int AskYesNo(const char *prompt, int defaultAnswer) {
    for (;;) {
        ShowPrompt(prompt);
        char line[kYesNoLine];
        if (!ReadAnswer(line)) return defaultAnswer;
        // "s" (sim) is accepted as yes on purpose.
        if (strcmp(line, "y") == 0 || strcmp(line, "Y") == 0 || strcmp(line, "s") == 0 ||
            strcmp(line, "S") == 0) {
            return 1;
        }
        if (strcmp(line, "n") == 0 || strcmp(line, "N") == 0) return 0;
        OutPrintf("%s\n", kAnswerYesOrNo);
    }
}

int AskYesNoWithDefault(const char *label, int defaultAnswer) {
    char prompt[1024];
    snprintf(prompt, sizeof prompt, defaultAnswer ? "%s ([y]/n): " : "%s (y/[n]): ", label);
    return AskYesNo(prompt, defaultAnswer);
}

int AskCustomYesNo(const char *prompt, char yesLetter, char noLetter, int defaultAnswer) {
    ShowPrompt(prompt);
    char line[kYesNoLine];
    if (!ReadAnswer(line)) return defaultAnswer;
    if (line[1] == '\0') {
        int typed = tolower(static_cast<unsigned char>(line[0]));
        if (typed == tolower(static_cast<unsigned char>(yesLetter))) return 1;
        if (typed == tolower(static_cast<unsigned char>(noLetter))) return 0;
    }
    OutPrintf("%s\n", kAnswerYesOrNo);
    return AskYesNo(prompt, defaultAnswer);
}

uint32_t ConfirmByTyping(const char *question, const char *prompt, const char *expected,
                         const char *cancelText, uint32_t code) {
    if (AskYesNoWithDefault(question, 0) == 1) {
        char typed[129] = {};
        if (ReadLine(prompt, typed, 128) == kPromptOk &&
            strncmp(typed, expected, strlen(expected)) == 0) {
            OutPrintf("\n");
            return code;
        }
    }
    ErrPrintf("\n%s\n\n", cancelText);
    return 0;
}
