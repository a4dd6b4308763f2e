// "Info": the whole state of the HSM on one screen.
#include <functional>

#include "admin/password_policy.h"
#include "app/console_version.h"
#include "console/terminal.h"
#include "hsm/hsm_actions.h"
#include "hsm/info_text.h"

uint32_t ReadHsmInfoRecord(QSessionHandle session, QHsmInfoRecord *record) {
    uint32_t flagWord = 0, length = sizeof *record;
    return QGetHsmInfo(session, &flagWord, Q_INFO_STATUS, record, &length, 0);
}

uint32_t ShowClientInfo(QSessionHandle session, int width) {
    OutPrintf("%*s : %d.%d.%d.%d\n", width, kConsoleName, kConsoleVersion[0], kConsoleVersion[1],
              kConsoleVersion[2], kConsoleVersion[3]);
    uint32_t major = 0, minor = 0, build = 0, revision = 0;
    QVersion(0, &major, &minor, &build, &revision);
    OutPrintf("%*s : %u.%u.%u.%u\n", width, "qelvoarc", major, minor, build, revision);
    uint32_t protocol = 0, length = sizeof protocol;
    uint32_t rc = QGetSessionParam(session, Q_SESSION_PARAM_PROTOCOL, &protocol, &length, 0);
    if (rc != Q_OK) {
        PrintInfoError("Error recovering HSM info.", rc);
        return rc;
    }
    PrintInfoLine(width, "Protocol", SessionProtocolName(protocol));
    char cipher[128] = {};
    length = sizeof cipher;
    rc = QGetSessionParam(session, Q_SESSION_PARAM_CIPHER, cipher, &length, 0);
    if (rc != Q_OK) {
        PrintInfoError("Error recovering HSM info.", rc);
        return rc;
    }
    cipher[sizeof cipher - 1] = '\0';
    if (cipher[0] != '\0') PrintInfoLine(width, "Cipher", cipher);
    return 0;
}

int32_t ShowHsmInfo(QSessionHandle session, const MenuItem &item) {
    PrintActionHeading(item);
    QHsmInfoRecord record{};
    const uint32_t recordStatus = ReadHsmInfoRecord(session, &record);
    const QHsmInfoRecord *read = recordStatus == Q_OK ? &record : nullptr;
    const int width = kInfoWidth;
    const struct {
        const char *title;
        std::function<uint32_t()> show;
    } sections[] = {
        {"Client", [&] { return ShowClientInfo(session, width); }},
        {"Hardware", [&] { return ShowHardwareInfo(session, read, recordStatus, width); }},
        {"Status", [&] { return ShowStatusInfo(session, read, recordStatus, width); }},
        {"Network", [&] { return ShowNetworkInfo(session, width); }},
        {"Replication", [&] { return ShowReplicationInfo(session, read, recordStatus, width); }},
        {"Password Policy", [&] { return ShowCompactPasswordPolicy(session, width); }},
    };
    uint32_t result = 0;
    for (const auto &section : sections) {
        if (&section != sections) OutPrintf("\n");
        PrintSectionTitle(width, section.title);
        if (const uint32_t rc = section.show(); rc != 0) result = rc;
    }
    return static_cast<int32_t>(result);
}
