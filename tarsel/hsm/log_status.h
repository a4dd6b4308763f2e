#pragma once
// The log lines of the information screen's Status section.

#include <cstdint>

#include "qelvoarc.h"

// "Log Size" and, for a log that is not empty, "Log Interval", labels right-aligned in
// `width`. A failed query prints "Error retrieving log param." and returns its code.
int ShowLogStatus(QSessionHandle session, int width);
