#pragma once
// The console's start-up: banner, library check, login, rights and version, feature flags,
// the main menu, and the orderly end.

#include "qelvoarc.h"

// Runs the whole console. Returns the process exit status: 0 after "Exit" (or after a
// certificate export), -1 after usage, otherwise the code of what failed.
int RunConsole(int argc, const char *const *argv);

// QCloseSession(session, 0) then QFinalize().
void CloseAndFinalize(QSessionHandle session);
