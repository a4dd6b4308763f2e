// "Remove": deletes any object of the partition by name, after a warning.
#include "console/prompts.h"
#include "console/terminal.h"
#include "keys/key_actions.h"
#include "keys/key_generation.h"

int32_t RemoveObjectAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char name[kObjectNameSize] = {};
    if (ReadLine("Name (HSM) : ", name, sizeof name - 1) != kPromptOk) {
        PrintCancelled();
        return kPromptCancelled;
    }
    OutPrintf("\n");
    const char *const warning[] = {"Warning", "\n",
                                   "Removing this key means that any information encrypted",
                                   "with it cannot be decrypted later.", ""};
    PrintBoxedBanner('*', warning);
    OutPrintf("\n%s ", "The object will be permanently removed.");
    if (AskYesNo("Continue (y/[n]):", 0) != 1) {
        // Declining is a choice, not a failure.
        PrintCancelled();
        return 0;
    }
    if (uint32_t status = QRemoveObj(session, name); status != 0) {
        PrintError("Error removing key.", status);
        return static_cast<int32_t>(status);
    }
    ErrPrintf("\n%s %s\n\n", name, "successfully removed.");
    return 0;
}
