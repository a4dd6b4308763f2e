#include "hsm/byte_size.h"

#include <cstdio>

void FormatByteSize(double value, char *out, size_t size) {
    constexpr double kKilo = 1024.0, kMega = 1048576.0, kGiga = 1073741824.0;
    if (value < kKilo)
        snprintf(out, size, "%.2f %s", value, value == 1 ? "byte" : "bytes");
    else if (value < kMega)
        snprintf(out, size, "%.2f %s", value / kKilo, "KB");
    else if (value < kGiga)
        snprintf(out, size, "%.2f %s", value / kMega, "MB");
    else
        snprintf(out, size, "%.2f %s", value / kGiga, "GB");
}
