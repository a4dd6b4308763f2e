#pragma once
// "HSM - EFT - Export Key": the key component ceremony in reverse.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// "Key Components": the HSM splits an exportable DES, 3DES or AES key into two or three
// random components; each custodian, alone behind a cover screen, reads one component and
// its check value; the whole key's check value comes last.
int32_t ExportKeyComponentsAction(QSessionHandle session, const MenuItem &item);
