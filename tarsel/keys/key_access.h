#pragma once
// How objects are opened for display: users under M of N open them with the session's
// authorisation, everyone else with the default access.

#include <cstdint>

#include "qelvoarc.h"

// True when objects are to be opened with option 0, false for option 2. A failed read of
// the user's rights is reported ("Error retrieving user acl.") and gives true.
bool UseDefaultKeyAccess(QSessionHandle session);

// The QGetUserKey option that UseDefaultKeyAccess selects.
uint32_t KeyOpenOption(QSessionHandle session);
