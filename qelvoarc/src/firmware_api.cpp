// Firmware update packages: described locally from their header, sent to the HSM as they are.
// Whether a package may be applied is the HSM's to judge.

#include <string>
#include <string_view>

#include "abi_guard.h"
#include "library_memory.h"
#include "qelvoarc.h"
#include "remote_call.h"
#include "upack.h"

namespace qelvoarc {
namespace {

// A terminated copy of `text` in library memory, or null.
char *CopyText(const std::string &text) {
    return static_cast<char *>(CopyToLibraryMemory(text.c_str(), text.size() + 1));
}

[[nodiscard]] uint32_t UPackInfo(uint32_t length, const uint8_t *package, char **description,
                                 char **version) {
    if (package == nullptr || description == nullptr) return wire::ERR_INVALID_PARAMETER;
    std::optional<wire::UpackContents> contents =
        wire::ParseUpack(std::string_view(reinterpret_cast<const char *>(package), length));
    if (!contents) return wire::ERR_UPACK_MALFORMED;
    char *descriptionCopy = CopyText(contents->description);
    char *versionCopy =
        version == nullptr ? nullptr : CopyText(wire::FormatFirmwareVersion(contents->version));
    if (descriptionCopy == nullptr || (version != nullptr && versionCopy == nullptr)) {
        FreeLibraryMemory(descriptionCopy);
        FreeLibraryMemory(versionCopy);
        return wire::ERR_NO_MEMORY;
    }
    *description = descriptionCopy;
    if (version != nullptr) *version = versionCopy;
    return wire::OK;
}

[[nodiscard]] uint32_t UPackPush(QSessionHandle handle, uint32_t length, const uint8_t *package) {
    if (package == nullptr || length == 0) return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::PushUpdatePackage request;
    request.set_package(package, length);
    return Remote<pb::PushUpdatePackageReply>(handle, std::move(request));
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QUPackInfo(uint32_t length, const uint8_t *package, char **description, char **version,
                    uint32_t) {
    return qelvoarc::Guarded(
        [&] { return qelvoarc::UPackInfo(length, package, description, version); });
}

uint32_t QUPackPush(QSessionHandle session, uint32_t length, const uint8_t *package) {
    return qelvoarc::Guarded([&] { return qelvoarc::UPackPush(session, length, package); });
}

}  // extern "C"
