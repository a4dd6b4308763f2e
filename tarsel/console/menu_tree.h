#pragma once
// The console's menu tree, reached from the main menu. Its conditions read the feature
// flags from gState each time a menu is built.

#include <cstdint>

#include "console/menu.h"

// Its items take their column's title ("Keys/Objects", "Users", "HSM") as subtitle.
extern const MenuDefinition kMainMenu;

// Builds the main menu for the logged-in user and runs it under "Main Menu".
void RunMainMenu(QSessionHandle session, uint32_t acl, const char *header);
