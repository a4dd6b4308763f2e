#pragma once
// "HSM": "Firmware Update", with the menu handler's signature.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// Sends an update package from a local file for the HSM to apply at its next start. The
// package's description is shown when it can be read; it may be sent all the same.
int32_t UpdateFirmware(QSessionHandle session, const MenuItem &item);
