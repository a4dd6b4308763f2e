#pragma once
// Key material typed openly as hexadecimal, one line per value. The digits stay on the
// screen, so ceremonies clear it before the next custodian.

#include <cstddef>
#include <cstdint>

#include "console/menu.h"

// Reads one line (at most 2 * length digits) after `prompt` (may be empty) and converts it
// into out[0..length). Returns 1 when the line is empty or not an even number of
// hexadecimal digits, 0 otherwise. Every copy of the digits is wiped; *out is the caller's.
uint32_t ReadHexField(const char *prompt, uint8_t *out, size_t length);

// The top of every screen on which key material is typed: the action heading, the key's
// name and whether it will be exportable, then an empty line.
void PrintKeyEntryHeading(const MenuItem &item, const char *keyName, bool exportable);
