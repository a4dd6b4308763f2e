// Screen furniture shared by every dialogue: titles, boxes, error lines, pauses.
#include <cstring>

#include "console/prompt_internal.h"
#include "console/prompts.h"
#include "qelvoarc.h"

namespace {

constexpr int kBoxWidth = 79;
constexpr int kBoxInner = kBoxWidth - 2;

void PrintBorderLine(char border) {
    char line[kBoxWidth + 1];
    memset(line, border, kBoxWidth);
    line[kBoxWidth] = '\0';
    OutPrintf("%s\n", line);
}

void PrintFramedText(char border, const char *text) {
    int length = static_cast<int>(strlen(text));
    int left = length < kBoxInner ? (kBoxInner - length) / 2 : 0;
    int right = length < kBoxInner ? kBoxInner - length - left : 0;
    OutPrintf("%c%*s%s%*s%c\n", border, left, "", text, right, "", border);
}

}  // namespace

void PrintBoxedBanner(char border, const char *const *lines) {
    PrintBorderLine(border);
    PrintFramedText(border, "");
    for (; lines[0][0] != '\0'; ++lines) {
        PrintFramedText(border, strcmp(lines[0], "\n") == 0 ? " " : lines[0]);
    }
    PrintFramedText(border, "");
    PrintBorderLine(border);
}

void ClearScreenTitle(const char *title) {
    CurrentTerminal().ClearScreen();
    OutPrintf("%s\n\n", title);
}

void PrintError(const char *message, uint32_t code) {
    // One text buffer for the whole process, as the library's own error text is.
    static char text[Q_ERROR_TEXT_SIZE];
    char name[Q_ERROR_NAME_SIZE] = {};
    memset(text, 0, sizeof text);
    QGetErrorString(code, name, text);
    ErrPrintf("\n%s %s (%d)\n", message, text, static_cast<int>(code));
}

void PrintCancelled() {
    ErrPrintf("\n%s\n", prompt_internal::kCancelledText);
}

void WaitForEnter() {
    OutPrintf("\n%s\n\n", "Press ENTER key to continue...");
    CurrentTerminal().FlushOut();
    CurrentTerminal().ReadChar();
}
