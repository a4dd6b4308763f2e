// The Hardware section: what the HSM is, and the modules it runs.
#include <cstdio>
#include <string>
#include <vector>

#include "hsm/hsm_actions.h"
#include "hsm/info_text.h"

namespace {

constexpr const char *kNoInformation = "No information avaliable.";

uint32_t CollectName(const char *name, void *context, int isFinal) {
    if (!isFinal) static_cast<std::vector<std::string> *>(context)->push_back(name);
    return 0;
}

}  // namespace

uint32_t ShowHardwareInfo(QSessionHandle session, const QHsmInfoRecord *record,
                          uint32_t recordStatus, int width) {
    if (record == nullptr) {
        PrintInfoError("Error recovering HSM info.", recordStatus);
        return recordStatus;
    }
    // The firmware and the serial are the words after "Engine" of the engine's description.
    const std::string description = FieldText(record->engineDescription);
    char firmware[256] = {}, serial[256] = {};
    const int words =
        std::sscanf(description.c_str(), "%*s %*s Engine %255s %*s %255s", firmware, serial);
    const std::string svmk = FieldText(record->svmkFingerprint);
    PrintInfoLine(width, "Manufacturer", FieldText(record->manufacturer).c_str());
    PrintInfoLine(width, "Model", FieldText(record->model).c_str());
    PrintInfoLine(width, "Hardware Profile", FieldText(record->hardwareProfile).c_str());
    PrintInfoLine(width, "Firmware version", words >= 1 ? firmware : kNoInformation);
    PrintInfoLine(width, "Serial number", words >= 2 ? serial : kNoInformation);
    PrintInfoLine(width, "TP key", FieldText(record->tpKey).c_str());
    PrintInfoLine(width, "SVMK fingerprint", svmk.empty() ? "None" : svmk.c_str());
    PrintInfoLine(width, "Machine Alias", FieldText(record->machineAlias).c_str());
    std::vector<std::string> modules;
    const uint32_t rc = QListLoadedModules(session, CollectName, &modules, 0);
    if (rc != Q_OK) {
        PrintInfoError("Error listing loaded modules.", rc);
        return rc;
    }
    PrintInfoList(width, "Loaded Modules", modules);
    return 0;
}
