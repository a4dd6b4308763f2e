#include "status.h"

namespace wire {

namespace {
struct Entry {
    uint32_t code;
    const char *text;
};
constexpr Entry kEntries[] = {
#define X(name, code, text) {code, text},
#include "status_codes.def"
#undef X
};
}  // namespace

const char *StatusText(uint32_t code) {
    for (const Entry &e : kEntries)
        if (e.code == code) return e.text;
    return "Unknown error.";
}

bool IsKnownStatus(uint32_t code) {
    for (const Entry &e : kEntries)
        if (e.code == code) return true;
    return false;
}

}  // namespace wire
