#pragma once
// The allocator behind QAlloc and QFree, and behind every buffer the library hands out.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qelvoarc {

// Zero-filled memory of `size` bytes, or null. Release with FreeLibraryMemory (QFree).
void *AllocateLibraryMemory(size_t size) noexcept;

// Wipes and releases memory from AllocateLibraryMemory; null is ignored.
void FreeLibraryMemory(void *pointer) noexcept;

// Copies bytes into new library memory; null when out of memory.
void *CopyToLibraryMemory(const void *data, size_t size) noexcept;

// Hands a copy of `bytes` in new library memory (freed with QFree) out through *data and
// *length. ERR_NO_MEMORY, with both left alone, when it cannot.
[[nodiscard]] uint32_t HandOutBytes(std::string_view bytes, uint8_t **data,
                                    uint32_t *length) noexcept;

}  // namespace qelvoarc
