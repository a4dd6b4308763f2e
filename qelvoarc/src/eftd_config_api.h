#pragma once
// The EFT daemon's administrative operations (Q_ADM_EFTD_*), reached through QAdmOperation.

#include <cstdint>

#include "qelvoarc.h"

namespace qelvoarc {

// REQUIRES: `operation` is one of Q_ADM_EFTD_*; data is non-null whenever length is not 0.
[[nodiscard]] uint32_t EftdAdmOperation(QSessionHandle handle, uint32_t operation, void *data,
                                        uint32_t length);

}  // namespace qelvoarc
