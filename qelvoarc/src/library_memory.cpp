#include "library_memory.h"

#include <openssl/crypto.h>

#include <cstdlib>
#include <cstring>

#include "qelvoarc.h"
#include "status.h"

namespace qelvoarc {

namespace {
// The block size is kept in front of the caller's memory so that QFree can wipe it; the
// header keeps the caller's pointer aligned for any type.
constexpr size_t kHeader = alignof(std::max_align_t);
}  // namespace

void *AllocateLibraryMemory(size_t size) noexcept {
    if (size > SIZE_MAX - kHeader) return nullptr;
    auto *block = static_cast<unsigned char *>(std::calloc(1, kHeader + size));
    if (block == nullptr) return nullptr;
    std::memcpy(block, &size, sizeof size);
    return block + kHeader;
}

void FreeLibraryMemory(void *pointer) noexcept {
    if (pointer == nullptr) return;
    unsigned char *block = static_cast<unsigned char *>(pointer) - kHeader;
    size_t size;
    std::memcpy(&size, block, sizeof size);
    OPENSSL_cleanse(block, kHeader + size);
    std::free(block);
}

void *CopyToLibraryMemory(const void *data, size_t size) noexcept {
    void *copy = AllocateLibraryMemory(size);
    if (copy != nullptr && size > 0) std::memcpy(copy, data, size);
    return copy;
}

uint32_t HandOutBytes(std::string_view bytes, uint8_t **data, uint32_t *length) noexcept {
    void *copy = CopyToLibraryMemory(bytes.data(), bytes.size());
    if (copy == nullptr) return wire::ERR_NO_MEMORY;
    *data = static_cast<uint8_t *>(copy);
    *length = static_cast<uint32_t>(bytes.size());
    return wire::OK;
}

}  // namespace qelvoarc

extern "C" {

void *QAlloc(uint32_t size) {
    return qelvoarc::AllocateLibraryMemory(size);
}

void QFree(void *pointer) {
    qelvoarc::FreeLibraryMemory(pointer);
}

}  // extern "C"
