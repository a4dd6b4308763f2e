#pragma once
// The boundary between the C ABI and the C++ core.

#include <cstdint>
#include <new>

#include "status.h"

namespace qelvoarc {

// Runs the body of an exported function. No exception may cross the C ABI, and a library
// must never end the process, so every escaping exception becomes a status.
template <class Body>
[[nodiscard]] uint32_t Guarded(Body &&body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc &) {
        return wire::ERR_NO_MEMORY;
    } catch (...) {
        return wire::ERR_INTERNAL;
    }
}

}  // namespace qelvoarc
