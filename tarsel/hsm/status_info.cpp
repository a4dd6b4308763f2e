// The Status section: what the HSM is doing now, and its cloud binding.
#include <cstring>
#include <string>

#include "console/terminal.h"
#include "device/hsm_info_attr.h"
#include "hsm/byte_size.h"
#include "hsm/hsm_actions.h"
#include "hsm/info_text.h"
#include "hsm/log_status.h"

namespace {

constexpr const char *kNoInformation = "No information avaliable.";
constexpr size_t kCloudTextSize = 2048;

uint32_t CountName(const char *, void *context, int isFinal) {
    if (!isFinal) ++*static_cast<uint32_t *>(context);
    return 0;
}

// An 8-byte attribute; false when it could not be read.
bool ReadFlagAttr(QSessionHandle session, uint32_t attribute, uint64_t *value) {
    uint32_t length = sizeof *value;
    return GetHsmInfoAttr(session, attribute, value, &length) == Q_OK;
}

bool IsTampered(QSessionHandle session) {
    uint8_t tampered = 0;
    uint32_t length = sizeof tampered;
    return GetHsmInfoAttr(session, Q_P11_ATTR_TAMPERED, &tampered, &length) == Q_OK &&
           tampered != 0;
}

// Uptime and battery; false (reported) when they could not be read.
bool ShowUptimeAndBattery(QSessionHandle session, int width, uint32_t *rc) {
    uint32_t answer[2] = {}, flagWord = 0, length = sizeof answer;
    *rc = QGetHsmInfo(session, &flagWord, Q_INFO_UPTIME, answer, &length, 0);
    if (*rc != Q_OK) {
        PrintInfoError("Error recovering HSM info.", *rc);
        return false;
    }
    if (answer[0] == Q_INFO_NOT_AVAILABLE)
        OutPrintf("%s\n", kNoInformation);
    else
        PrintUptime(width, answer[0]);
    const char *battery =
        answer[1] == Q_INFO_NOT_AVAILABLE ? kNoInformation : (answer[1] == 0 ? "ERROR" : "OK");
    PrintInfoLine(width, "Battery Status", battery);
    return true;
}

void ShowCloudState(QSessionHandle session, int width) {
    uint64_t telemetry = 0, remote = 0;
    if (ReadFlagAttr(session, Q_P11_ATTR_CLOUD_STATUS, &telemetry)) {
        PrintInfoLine(width, "Telemetry", telemetry == 1 ? "yes" : "no");
        if (telemetry == 1) ShowCloudInfo(session, width);
    }
    if (ReadFlagAttr(session, Q_P11_ATTR_REMOTE_MANAGEMENT, &remote))
        PrintInfoLine(width, "Remote Management", remote != 0 ? "active" : "inactive");
}

uint32_t Percent(uint64_t part, uint64_t whole) {
    return whole == 0 ? 0 : static_cast<uint32_t>(static_cast<double>(part) / whole * 100);
}

}  // namespace

uint32_t ShowCloudInfo(QSessionHandle session, int width) {
    // The account is read with the length the address query handed back, as the HSM's
    // cloud screens have always done.
    char text[kCloudTextSize];
    uint32_t length = kCloudTextSize;
    std::memset(text, 0, sizeof text);
    uint32_t rc = GetHsmInfoAttr(session, Q_P11_ATTR_TELEMETRY_URL, text, &length);
    if (rc == Q_OK) PrintInfoLine(width, "Telemetry URL", text);
    std::memset(text, 0, sizeof text);
    rc = GetHsmInfoAttr(session, Q_P11_ATTR_CLOUD_ACCOUNT, text, &length);
    if (rc == Q_OK) PrintInfoLine(width, "Super Cloud Account Id", text);
    std::memset(text, 0, sizeof text);
    length = kCloudTextSize;
    rc = GetHsmInfoAttr(session, Q_P11_ATTR_HSM_ID, text, &length);
    if (rc == Q_OK) PrintInfoLine(width, "HSM Id", text);
    return rc;
}

uint32_t ShowStatusInfo(QSessionHandle session, const QHsmInfoRecord *record, uint32_t recordStatus,
                        int width) {
    if (IsTampered(session)) OutPrintf("%9s%s\n\n", "", "HSM IS TAMPERED!!!");
    if (record == nullptr) {
        PrintInfoError("Error recovering HSM info.", recordStatus);
        return recordStatus;
    }
    const uint32_t version = record->version;
    if (version >= 5)
        PrintInfoLine(width, "Now", GmtText(record->clock).c_str());
    else
        OutPrintf("\n");
    uint32_t rc = 0;
    if (!ShowUptimeAndBattery(session, width, &rc)) return rc;
    if (version >= 2)
        PrintInfoLine(width, "Operation Mode", OperationModeName(record->operationMode));
    else
        OutPrintf("\n");
    ShowCloudState(session, width);
    if (version >= 3)
        OutPrintf("%*s : %.0f%%\n", width, "Storage Area",
                  record->storageTotal == 0 ? 0.0
                                            : (record->storageTotal - double(record->storageFree)) /
                                                  record->storageTotal * 100);
    else
        OutPrintf("\n");
    if (int logStatus = ShowLogStatus(session, width); logStatus != 0) return logStatus;
    if (version < 8) {
        uint32_t users = 0;
        rc = QListUsers(session, CountName, &users);
        if (rc != Q_OK) {
            PrintInfoError("Error listing users.", rc);
            return rc;
        }
        OutPrintf("%*s : %u\n", width, "Total Users", users);
    } else {
        char size[64];
        FormatByteSize(double(record->databaseSize), size, sizeof size);
        PrintInfoLine(width, "DB Size", size);
        OutPrintf("%*s : %llu\n", width, "Total Users",
                  static_cast<unsigned long long>(record->userCount));
        OutPrintf("%*s : %llu\n", width, "Total objects",
                  static_cast<unsigned long long>(record->objectCount));
    }
    OutPrintf("%*s : %u\n", width, "Sessions", record->sessions);
    OutPrintf("%*s : %u%%\n", width, "CPU", record->cpuPercent);
    OutPrintf("%*s : %d%%\n", width, "Memory",
              static_cast<int>(Percent(record->memoryUsed, record->memoryTotal)));
    if (version >= 10) {
        const std::string update = FieldText(record->pendingUpdate);
        PrintInfoLine(width, "Pending Backup", record->backupPending != 0 ? "yes" : "no");
        PrintInfoLine(width, "Pending Upack", update.empty() ? "no" : update.c_str());
    }
    return 0;
}
