#pragma once
// The flags that menus and actions test, derived once after login from the firmware
// version, the user and the library.

#include "app/process_state.h"

// Sets the fwAtLeast_* flags from state->firmwareVersion, eftDaemonUser from state->userId
// and smartCardLibLoaded. fwAtLeast_5_0_27_0 also requires an EFT daemon user or the
// operator bit in state->userAcl.
void SetFeatureFlags(ProcessState *state, bool smartCardLibLoaded);
