#pragma once
// "HSM - EFT - Import Key" and "Export Key", "With KEK DES/3DES": a DES or 3DES key travels
// encrypted under a key-encryption key both sides hold, with its check value.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// Takes the encrypted key and its check value as hexadecimal; the HSM decrypts it and keeps
// it only when the check value matches.
int32_t ImportKeyWithKekAction(QSessionHandle session, const MenuItem &item);

// Shows an exportable key encrypted under the KEK, and its check value.
int32_t ExportKeyWithKekAction(QSessionHandle session, const MenuItem &item);
