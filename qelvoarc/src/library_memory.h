#pragma once
// The allocator behind QAlloc and QFree, and behind every buffer the library hands out.

#include <cstddef>
#include <cstdint>

namespace qelvoarc {

// Zero-filled memory of `size` bytes, or null. Release with FreeLibraryMemory (QFree).
void *AllocateLibraryMemory(size_t size) noexcept;

// Wipes and releases memory from AllocateLibraryMemory; null is ignored.
void FreeLibraryMemory(void *pointer) noexcept;

// Copies bytes into new library memory; null when out of memory.
void *CopyToLibraryMemory(const void *data, size_t size) noexcept;

}  // namespace qelvoarc
