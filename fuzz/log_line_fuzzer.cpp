// QLogLineFormat on any bytes: a raw line of the HSM's log comes from the network, and the
// formatter must refuse what it cannot read without writing past its buffer.

#include <cstddef>
#include <cstdint>
#include <string>

#include "qelvoarc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string line(reinterpret_cast<const char *>(data), size);  // NUL-terminated
    // The console's buffer, and a short one for the bound.
    char formatted[Q_LOG_LINE_SIZE];
    (void)QLogLineFormat(line.c_str(), formatted, sizeof formatted, 0);
    char small[24];
    (void)QLogLineFormat(line.c_str(), small, sizeof small, 0);
    return 0;
}
