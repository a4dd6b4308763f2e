#include "app/startup.h"

#include <cstdio>
#include <cstring>

#include "app/console_version.h"
#include "app/feature_flags.h"
#include "app/login.h"
#include "app/process_state.h"
#include "app/version_numbers.h"
#include "console/menu_tree.h"
#include "console/prompts.h"
#include "console/terminal.h"

namespace {

constexpr uint32_t kRecommendedLibrary[4] = {1, 0, 65, 101};
constexpr char kHsmInfoError[] = "Error recovering HSM info.";

// Banner and session line, shown on top of every screen for the rest of the run.
char gHeader[4096];

void PrintBanner() {
    snprintf(gHeader, sizeof gHeader, "%s v. %d.%d.%d.%d %s\n\n",
             "Orvena - Remote Management Console", kConsoleVersion[0], kConsoleVersion[1],
             kConsoleVersion[2], kConsoleVersion[3], "- the tarsel project");
    OutPrintf("%s", gHeader);
}

// An older library than recommended is only warned about.
void CheckLibraryVersion() {
    uint32_t version[4] = {};
    QVersion(0, &version[0], &version[1], &version[2], &version[3]);
    OutPrintf("%s  %u.%u.%u.%u.", "Library qelvoarc version", version[0], version[1], version[2],
              version[3]);
    if (CompareLibraryVersion(version, kRecommendedLibrary) < 0) {
        OutPrintf(" %s %u.%u.%u.%u %s", "Version", kRecommendedLibrary[0], kRecommendedLibrary[1],
                  kRecommendedLibrary[2], kRecommendedLibrary[3], "or above is recommended.");
    }
    OutPrintf("\n");
}

// After a failed read right after login: one new session with the same command line.
uint32_t Reconnect(QSessionHandle *session, int argc, const char *const *argv) {
    QCloseSession(session, 0);
    return ConnectAndLogin(session, argc, argv);
}

uint32_t ReadUserAcl(QSessionHandle *session, int argc, const char *const *argv) {
    char userId[Q_MAX_USER_ID + 1] = {};
    memcpy(userId, gState.userId, strnlen(gState.userId, Q_MAX_USER_ID));
    const uint32_t rc = QGetUserAcl(*session, userId, &gState.userAcl);
    if (rc == Q_OK) return 0;
    PrintError("Error retrieving user acl.", rc);
    const uint32_t again = Reconnect(session, argc, argv);
    if (again != 0) return again;
    gState.userAcl = Q_ACL_OPERATOR;
    return 0;
}

uint32_t ReadVersionText(QSessionHandle *session, int argc, const char *const *argv) {
    char *text = gState.hsmVersionText;
    memset(text, 0, sizeof gState.hsmVersionText);
    uint32_t flagWord = 1;
    uint32_t length = sizeof gState.hsmVersionText - 1;
    const uint32_t rc = QGetHsmInfo(*session, &flagWord, Q_INFO_VERSION, text, &length, 0);
    if (rc == Q_OK) {
        ShortenVersionText(text, sizeof gState.hsmVersionText);
        return 0;
    }
    PrintError(kHsmInfoError, rc);
    const uint32_t again = Reconnect(session, argc, argv);
    if (again != 0) return again;
    snprintf(text, sizeof gState.hsmVersionText, "%s", "Version not available.");
    return 0;
}

void AppendSessionLine() {
    const size_t used = strlen(gHeader);
    snprintf(gHeader + used, sizeof gHeader - used, "%s %s %s - %s - %s %s", "HSM",
             gState.hsmAddress, gState.sessionFlags == Q_SESSION_TLS ? "e" : "c",
             gState.hsmVersionText, gState.accessTokenLogin ? "AT" : "ID", gState.userId);
}

uint32_t ReadFirmwareVersion(QSessionHandle session) {
    char text[2048] = {};
    uint32_t flagWord = 1;
    uint32_t length = sizeof text - 1;
    const uint32_t rc = QGetHsmInfo(session, &flagWord, Q_INFO_VERSION, text, &length, 0);
    if (rc != Q_OK) {
        PrintError(kHsmInfoError, rc);
        return rc;
    }
    char version[64];
    ExtractFirmwareVersion(text, version, sizeof version);
    gState.firmwareVersion = FirmwareVersionNumber(version);
    return 0;
}

uint32_t ReadHsmMode(QSessionHandle session) {
    gState.hsmMode = 0;
    if ((gState.userAcl & (Q_ACL_REMOTE_INFO | Q_ACL_OPERATOR)) == 0) return 0;
    uint32_t flagWord = 0;
    uint32_t length = sizeof gState.hsmMode;
    const uint32_t rc = QGetHsmInfo(session, &flagWord, Q_INFO_MODE, &gState.hsmMode, &length, 0);
    if (rc != Q_OK) PrintError(kHsmInfoError, rc);
    return rc;
}

}  // namespace

void CloseAndFinalize(QSessionHandle session) {
    QCloseSession(&session, 0);
    QFinalize();
}

int RunConsole(int argc, const char *const *argv) {
    PrintBanner();
    CheckLibraryVersion();

    QSessionHandle session = 0;
    uint32_t rc = ConnectAndLogin(&session, argc, argv);
    if (rc != 0) return int(rc);
    if (gState.exportTlsCert) return 0;

    rc = ReadUserAcl(&session, argc, argv);
    if (rc == 0) rc = ReadVersionText(&session, argc, argv);
    if (rc != 0) return int(rc);
    AppendSessionLine();

    // From here a failed read ends the process with the session left to the exit.
    rc = ReadFirmwareVersion(session);
    if (rc != 0) return int(rc);
    SetFeatureFlags(&gState, QSCIsLibLoaded() != 0);
    rc = ReadHsmMode(session);
    if (rc != 0) return int(rc);

    RunMainMenu(session, gState.userAcl, gHeader);
    CloseAndFinalize(session);
    return 0;
}
