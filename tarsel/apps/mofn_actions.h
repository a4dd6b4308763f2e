#pragma once
// "My Auth M of N": the M of N state of the logged-in user's partition and the actions that
// move it, each done with the custodians' cards.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// The state of the actions menu: 6 while the session is authorized, else the HSM's state
// plus one for states 0 to 4, and 1 for any other.
uint32_t MofNMenuState(uint32_t hsmState);

// The summary of the user, then the actions the partition's state allows. Returns 1 when
// none is chosen, else the action's status.
int32_t ShowUserAcl(QSessionHandle session, const MenuItem &item);
