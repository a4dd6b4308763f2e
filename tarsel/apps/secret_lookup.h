#pragma once
// The steps every safe-keeping action but "New" begins with: the secret's name, looked up and
// described.

#include <cstddef>
#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

inline constexpr size_t kSecretNameSize = 50;

struct SecretInfo {
    uint16_t level = 0;
    uint16_t authType = 0;
};

// Asks "Secret Name (HSM) : " into name (kSecretNameSize bytes), refuses an object that is not
// a kept secret ("Error invalid key.", 1) and reads the secret's properties. Failures are
// reported; returns 0 or the status.
uint32_t AskSecretName(QSessionHandle session, char *name, SecretInfo *info);

// "Security level : " and "Authentication type : " of the secret.
void ShowSecretInfo(const SecretInfo &info);

// The start of an action on an existing secret: its heading, AskSecretName, then the
// properties between empty lines.
uint32_t OpenSecretAction(QSessionHandle session, const MenuItem &item, char *name,
                          SecretInfo *info);

// The name line at the top of each custodian's screen.
void PrintSecretNameLine(const char *name);
