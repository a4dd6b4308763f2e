#include "app/nearby_hsm.h"

#include <cstring>

#include "console/prompts.h"
#include "console/terminal.h"
#include "device/library_handles.h"
#include "qelvoarc.h"

uint32_t SelectNearbyHsm(char *address) {
    LibraryMemory<QHsmDiscoveryEntry> list;
    uint32_t count = 0;
    const uint32_t rc = QFindHSM(Q_FIND_HSM_UDP, Q_FIND_HSM_DEFAULT_WAIT, list.Out(), &count, 0);
    if (rc != Q_OK) return rc;
    if (count == 0) {
        OutPrintf("\n%s\n", "No HSMs were found.");
        return 1;
    }
    OutPrintf("\n");
    for (uint32_t i = 0; i < count; ++i) {
        OutPrintf(" %u - %.*s\n", i + 1, int(sizeof list.Get()[i].address), list.Get()[i].address);
    }
    OutPrintf("\n%s : ", "Select a HSM to connect");
    CurrentTerminal().FlushOut();
    int32_t choice = 0;
    if (ReadMenuNumber(1, int32_t(count), &choice) != kPromptOk) return 1;
    const QHsmDiscoveryEntry &chosen = list.Get()[choice - 1];
    const size_t length = strnlen(chosen.address, sizeof chosen.address);
    memcpy(address, chosen.address, length);
    address[length] = '\0';
    return 0;
}
