#pragma once
// "HSM - Tests", with the menu handler's signature.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// "RNG": 1 to 1024 random bytes from the HSM, shown as one hexadecimal run.
int32_t GetRandomBytes(QSessionHandle session, const MenuItem &item);
