#include "apps/cvv.h"

#include "console/prompts.h"
#include "console/terminal.h"

int32_t CvvAction(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    char keyName[50] = {};
    char pan[25] = {};
    char expirationDate[5] = {};
    char serviceCode[4] = {};
    if (!ReadLineOrCancel("Key Name (HSM) : ", keyName, sizeof keyName) ||
        !ReadLineOrCancel("PAN(Primary Account Number) : ", pan, sizeof pan) ||
        !ReadLineOrCancel("Expiration Date : ", expirationDate, sizeof expirationDate) ||
        !ReadLineOrCancel("SVC(Service Code) : ", serviceCode, sizeof serviceCode))
        return kPromptCancelled;
    char cvv[4] = {};
    uint32_t status = QGenerateCVV(session, keyName, pan, expirationDate, serviceCode, cvv, 0);
    if (status != 0) {
        PrintError("Error generating CVV.", status);
        return static_cast<int32_t>(status);
    }
    OutPrintf("\n%s%s\n", "CVV generated:  ", cvv);
    OutPrintf("\n");
    return 0;
}
