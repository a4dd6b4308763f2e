#include "app/feature_flags.h"

#include <cstring>

#include "app/version_numbers.h"
#include "qelvoarc.h"

void SetFeatureFlags(ProcessState *state, bool smartCardLibLoaded) {
    const uint64_t firmware = state->firmwareVersion;
    auto atLeast = [firmware](const char *version) {
        return firmware >= FirmwareVersionNumber(version);
    };
    state->fwAtLeast_3_10_0_0 = atLeast("3.10.0.0");
    state->fwAtLeast_4_0_0_0 = atLeast("4.0.0.0");
    state->fwAtLeast_3_9_0_0 = atLeast("3.9.0.0");
    state->fwAtLeast_3_9_0_2 = atLeast("3.9.0.2");
    state->fwAtLeast_5_0_11_0 = atLeast("5.0.11.0");
    state->fwAtLeast_5_0_27_0 = atLeast("5.0.27.0");
    state->fwAtLeast_5_0_32_0 = atLeast("5.0.32.0");
    state->eftDaemonUser = strncmp(state->userId, "eftd0", 5) == 0;
    state->smartCardLibLoaded = smartCardLibLoaded;
    const bool entitled = state->eftDaemonUser || (state->userAcl & Q_ACL_OPERATOR) != 0;
    if (!entitled) state->fwAtLeast_5_0_27_0 = false;
}
