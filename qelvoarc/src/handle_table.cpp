#include "handle_table.h"

namespace qelvoarc {

uint64_t NextHandle() {
    // Starts well above small integers so that a zeroed or made-up value is never live.
    static std::atomic<uint64_t> next{0x51000000001ull};
    return next.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace qelvoarc
