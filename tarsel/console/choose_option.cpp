// The generic numbered list behind every option picker.
#include <cstdio>
#include <string>

#include "console/pickers.h"
#include "console/prompts.h"
#include "console/terminal.h"

bool ChooseOptionIndex(const char *title, const std::vector<const char *> &labels, bool allowExit,
                       const char *exitLabel, size_t *index) {
    if (title != nullptr && title[0] != '\0') OutPrintf("%s :\n", title);
    // Each line is cut to fit 127 bytes, newline included, as the screen layout expects.
    std::string list;
    for (size_t k = 0; k < labels.size(); ++k) {
        char line[127];
        snprintf(line, sizeof line, "%2d - %s\n", static_cast<int>(k + 1), labels[k]);
        list += line;
    }
    OutPrintf("%s", list.c_str());
    if (allowExit) OutPrintf("\n%2d - %s\n", 0, exitLabel);
    OutPrintf("%s : ", "Option");
    CurrentTerminal().FlushOut();

    int32_t reply = 0;
    if (ReadMenuNumber(allowExit ? 0 : 1, static_cast<int32_t>(labels.size()), &reply) !=
        kPromptOk) {
        PrintCancelled();
        return false;
    }
    if (reply == 0) return false;
    *index = static_cast<size_t>(reply - 1);
    OutPrintf("\n");
    return true;
}
