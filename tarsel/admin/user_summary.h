#pragma once
// What the user screens show about one account: its summary, and the objects it holds.

#include <cstdint>

#include "qelvoarc.h"

// True when the HSM reports the user blocked; a failed read counts as not blocked.
bool ReadUserBlocked(QSessionHandle session, const char *userId);

// Type, blocked, the M of N block, local-crypto and the second factor, one line each.
void ShowUserSummary(QSessionHandle session, const char *userId, uint32_t acl, bool blocked);

// Stores the number of objects the user's partition holds. Returns 0 or the library's code.
uint32_t ReadUserObjectTotal(QSessionHandle session, const char *userId, uint64_t *total);

// The count of each object type of the partition and their total; prints nothing when the
// firmware is older than 5.0.32.0 or the counts cannot be read.
void ShowUserObjects(QSessionHandle session, const char *userId);
