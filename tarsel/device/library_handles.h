#pragma once
// Owning handles over the device library's handles and memory. Each releases what it holds
// exactly once, with the library's own release function, and does nothing when empty.

#include "device/owned_handle.h"
#include "qelvoarc.h"

namespace library_release {
struct Key {
    void operator()(QKeyHandle key) const { QDestroyKey(key, 0); }
};
struct Hash {
    void operator()(QHashHandle hash) const { QDestroyHash(hash); }
};
struct ObjMetadata {
    void operator()(QObjMetadataHandle metadata) const { QDestroyObjMetadata(metadata, 0); }
};
struct P11Info {
    void operator()(QP11InfoHandle info) const { QDestroyHSMP11Info(info, 0); }
};
struct Session {
    void operator()(QSessionHandle session) const { QCloseSession(&session, 0); }
};
struct Memory {
    void operator()(void *pointer) const { QFree(pointer); }
};
}  // namespace library_release

using OwnedKey = OwnedHandle<QKeyHandle, library_release::Key>;
using OwnedHash = OwnedHandle<QHashHandle, library_release::Hash>;
using OwnedObjMetadata = OwnedHandle<QObjMetadataHandle, library_release::ObjMetadata>;
using OwnedP11Info = OwnedHandle<QP11InfoHandle, library_release::P11Info>;
using OwnedSession = OwnedHandle<QSessionHandle, library_release::Session>;

// Memory from the library (or from QAlloc), freed with QFree, which also wipes it.
template <typename T>
using LibraryMemory = OwnedHandle<T *, library_release::Memory>;
