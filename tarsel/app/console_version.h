#pragma once
// The console's own name and version, shown in the banner and the client information.

inline constexpr const char *kConsoleName = "tarsel";
inline constexpr int kConsoleVersion[4] = {4, 15, 0, 0};
