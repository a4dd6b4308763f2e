#pragma once
// Inputs that carry several messages hold them as frames, as on the wire: a 4-byte big-endian
// length, then the bytes. A frame cut short by the end of the input is dropped.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

inline std::vector<std::string_view> SplitFrames(const uint8_t *data, size_t size) {
    std::vector<std::string_view> frames;
    for (size_t at = 0; at + 4 <= size;) {
        const size_t length = (size_t{data[at]} << 24) | (size_t{data[at + 1]} << 16) |
                              (size_t{data[at + 2]} << 8) | size_t{data[at + 3]};
        at += 4;
        if (length > size - at) break;
        frames.emplace_back(reinterpret_cast<const char *>(data + at), length);
        at += length;
    }
    return frames;
}
