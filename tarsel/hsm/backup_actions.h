#pragma once
// The actions of the menu "HSM - Backup", and the backup password prompt they share.

#include <cstddef>
#include <cstdint>

#include "console/menu.h"

// A backup password and its terminator.
inline constexpr size_t kBackupPasswordBuffer = 33;
// The bound of a local path.
inline constexpr size_t kBackupPathChars = 256;

// Prints `prompt` and reads a masked password of at most 32 characters; returns its length.
size_t AskMasked(const char *prompt, char (&buffer)[kBackupPasswordBuffer]);

// Asks for a new backup password and its confirmation into `password`: at least 8
// characters on firmware 3.9.0.2 and later, 16 before, at most 32. False, with the reason
// printed, when the entry was cancelled or the confirmation differs. The caller wipes it.
bool ReadBackupPassword(char (&password)[kBackupPasswordBuffer]);

int32_t CreateBackup(QSessionHandle session, const MenuItem &item);
// After a restore the HSM serves nothing but information until it is restarted; the
// console's session stays open and later actions report the HSM's refusal.
int32_t RestoreBackup(QSessionHandle session, const MenuItem &item);
