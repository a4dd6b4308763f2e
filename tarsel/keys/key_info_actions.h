#pragma once
// The action menu under the key information screen.

#include <cstdint>

#include "qelvoarc.h"

// What the screen showed of the object, which decides the actions offered.
struct ShownObject {
    uint32_t algorithm = 0;
    bool blocked = false;
};

// Offers the actions for the object on screen ("Set label", and "Block" or "Unblock" for
// keys and certificates) and runs the one chosen, reporting its result. Returns false when
// the screen is to be left: 0 chosen, or an invalid choice (reported as such).
bool RunKeyInfoAction(QSessionHandle session, QKeyHandle key, const char *name,
                      const ShownObject &shown);
