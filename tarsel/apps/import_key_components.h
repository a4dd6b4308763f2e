#pragma once
// "HSM - EFT - Import Key": the key component ceremony.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// "Key Components": two or three custodians each type a clear component of a DES, 3DES or
// AES key with its check value; the HSM joins them and checks the whole key's value.
int32_t ImportKeyComponentsAction(QSessionHandle session, const MenuItem &item);
