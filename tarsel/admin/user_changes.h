#pragma once
// Changes an operator makes to another account from its attribute screen.

#include <cstdint>

#include "qelvoarc.h"

// Shows whether the user is blocked, confirms, and blocks or unblocks it.
// Returns 0 (also when declined) or the library's code.
uint32_t BlockUnblockUser(QSessionHandle session, const char *userId, bool blocked);

// Resets or resynchronises the user's second factor when it has one (per `acl`), else sets
// one up. Returns 0 (also when declined) or the library's code.
uint32_t SetupTwoFactor(QSessionHandle session, const char *userId, uint32_t acl);
