#pragma once
// The five system permissions of a user account, asked and shown in one fixed order.

#include <cstdint>

// Asks each permission as a yes/no question whose default is its current bit in *acl,
// setting or clearing the bit. A permission the `allowed` mask lacks (unless it holds the
// operator bit) is not asked: it is printed as "<label>: no" and cleared, so that nobody
// grants a right it does not hold itself.
void AskPermissions(uint32_t allowed, uint32_t *acl);

// "System permissions: " and one "yes"/"no" line per permission.
void ShowSystemPermissions(uint32_t acl);

// Prints the heading that precedes the permission questions and lines.
void PrintSystemPermissionsHeading();
