#pragma once
// Delivering enumerations to the caller's callbacks. Results are collected first and handed
// over only after the exchange, outside the session's lock, so a callback may call the
// library again, on the same session too.

#include <cstdint>
#include <string>
#include <vector>

#include "qelvoarc.h"

namespace qelvoarc {

// Each name, then the final call. A non-zero return of the callback stops the delivery and
// becomes the result.
[[nodiscard]] uint32_t DeliverNames(const std::vector<std::string> &names, QNameCallback callback,
                                    void *context);

// A text field of a caller's record: at most `capacity` bytes, up to the first NUL.
inline std::string BoundedText(const char *field, size_t capacity) {
    size_t length = 0;
    while (length < capacity && field[length] != '\0')
        ++length;
    return std::string(field, length);
}

}  // namespace qelvoarc
