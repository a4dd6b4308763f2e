#pragma once
// Status codes shared by the device library and the simulator (see status_codes.def).

#include <cstdint>

namespace wire {

enum Status : uint32_t {
#define X(name, code, text) name = code,
#include "status_codes.def"
#undef X
};

// The text of a status code; an unknown code gives a generic text, never null.
const char *StatusText(uint32_t code);

// True when the code belongs to the table.
bool IsKnownStatus(uint32_t code);

}  // namespace wire
