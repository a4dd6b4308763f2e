// QUPackInfo on any bytes: an update package is a file the operator was handed, and its
// header is read before any signature is checked.

#include <cstddef>
#include <cstdint>

#include "qelvoarc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    char *description = nullptr;
    char *version = nullptr;
    if (QUPackInfo(static_cast<uint32_t>(size), data, &description, &version, 0) == Q_OK) {
        QFree(description);
        QFree(version);
    }
    return 0;
}
