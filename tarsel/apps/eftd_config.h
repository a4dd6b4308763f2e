#pragma once
// "HSM - EFT - EFTd Config": the EFT daemon's configuration, and the changes the user may
// make to it.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// Shows the configuration and the user's actions until one leaves the screen: "Exit" (1), a
// cancellation, a failure or an invalid length (that status).
int32_t EftdConfigScreen(QSessionHandle session, const MenuItem &item);
