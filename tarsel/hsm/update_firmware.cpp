// "Firmware Update": a package read from a local file, described, confirmed and sent.
#include <cstdio>

#include "console/prompts.h"
#include "console/terminal.h"
#include "hsm/firmware_actions.h"

namespace {

constexpr size_t kPathSize = 256;

// Shows the package's size and description. A package the library cannot describe may still
// be one the HSM accepts, so a failure is reported and the dialogue goes on.
void DescribePackage(const uint8_t *package, uint32_t length) {
    char *description = nullptr;
    char *version = nullptr;
    if (uint32_t status = QUPackInfo(length, package, &description, &version, 0); status != 0) {
        PrintError("Error retrieving upack info.", status);
        return;
    }
    OutPrintf("\n%s %u %s\n", "Upack size: ", length, "bytes");
    OutPrintf("%s '%s'.\n", "Upack description: ", description);
    QFree(description);
    QFree(version);
}

// Confirms and sends the package. 0, 1 when declined, or the library's code.
int32_t ConfirmAndSend(QSessionHandle session, const uint8_t *package, uint32_t length) {
    if (AskYesNo("Confirm sending upack to HSM (y/[n]): ", 0) != 1) {
        PrintCancelled();
        return kPromptCancelled;
    }
    if (uint32_t status = QUPackPush(session, length, package); status != 0) {
        PrintError("Error sending upack.", status);
        return static_cast<int32_t>(status);
    }
    OutPrintf("\n%s %s\n\n", "Upack successfully sent.",
              "This upack will be processed by the HSM in the next restart.");
    return 0;
}

}  // namespace

int32_t UpdateFirmware(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    const char *const warning[] = {
        "Warning",
        "\n",
        "Firmware update is a critical operation for the correct and safe",
        "operation of the HSM. In case of doubt consult the technical support of",
        "of your vendor.",
        ""};
    PrintBoxedBanner('*', warning);
    OutPrintf("\n");
    if (AskYesNo("Continue updating firmware (y/[n]): ", 0) != 1) {
        PrintCancelled();
        return kPromptCancelled;
    }
    char path[kPathSize + 1] = {};
    if (ReadLine("Local file to read upack: ", path, kPathSize) != kPromptOk) {
        PrintCancelled();
        return kPromptCancelled;
    }
    if (FILE *file = fopen(path, "rb")) {
        fclose(file);
    } else {
        ErrPrintf("%s [%s]\n", "Error opening the file.", path);
        return kPromptCancelled;
    }
    // The file opened a moment ago, so what fails now is the buffer.
    uint8_t *package = nullptr;
    uint32_t length = 0;
    if (ReadWholeFile(path, &package, &length) != kPromptOk) {
        ErrPrintf("%s\n", "Error allocating memory.");
        return kPromptCancelled;
    }
    DescribePackage(package, length);
    const int32_t result = ConfirmAndSend(session, package, length);
    QFree(package);
    return result;
}
