#pragma once
// "HSM - Tests - CVV": a card verification value computed by the HSM.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// Asks the key, PAN, expiration date and service code and shows the CVV. The HSM checks the
// card data; the console passes it as typed.
int32_t CvvAction(QSessionHandle session, const MenuItem &item);
