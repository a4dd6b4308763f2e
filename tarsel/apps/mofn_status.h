#pragma once
// The M of N lines of a user's summary: whether the partition needs the custodians, and
// then its state and object permissions as the HSM reports them.

#include <cstdint>

#include "qelvoarc.h"

// The name of an M of N state as the HSM reports it (0 to 4, "Invalid state" above).
const char *MofNStateName(uint32_t state);

// The names of the permission bits set in `mask`, in the order Read, Export, Destroy,
// Block, Partition Remove, joined with ", "; "None" when none is set. Returns a pointer
// into `text` (at least 64 bytes).
const char *MofNPermissionList(uint32_t mask, char *text);

// Prints "Partition M of N auth" and, when `acl` holds Q_ACL_MOFN_LOCAL, reads the user's
// M of N record and prints its state (or "Session Authorized" while the session is) and its
// permissions. Returns 0, or the library's code after "Error retrieving user acl.".
uint32_t ShowMofNStatus(QSessionHandle session, const char *userId, uint32_t acl);
