#pragma once
// "HSM - EFT - EMV CSR": an issuer public key certification request for a card scheme, built
// by the HSM from one of its RSA keys and written to local files.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// Asks the key, the scheme and its fields, and writes the request (and the hash, for Visa
// and MasterCard) beside the typed file name. 0, 1 when cancelled or a file cannot be
// written, or the library's code.
int32_t EmvCsrAction(QSessionHandle session, const MenuItem &item);
