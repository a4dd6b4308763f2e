// Texts of status codes. Local: these work before QInitialize.

#include <algorithm>
#include <cstring>

#include "abi_guard.h"
#include "qelvoarc.h"
#include "status.h"

namespace qelvoarc {
namespace {

const char *StatusName(uint32_t code) {
    switch (code) {
#define X(name, value, text) \
    case value:              \
        return #name;
#include "status_codes.def"
#undef X
        default:
            return "ERR_UNKNOWN";
    }
}

// Copies text into a buffer of `size` bytes, truncating, always terminated.
void CopyTruncated(const char *text, char *buffer, size_t size) {
    if (size == 0) return;
    size_t length = std::min(std::strlen(text), size - 1);
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QGetErrorString(uint32_t code, char *name, char *text) {
    if (text == nullptr) return Q_ERR_INVALID_PARAMETER;
    if (name != nullptr)
        qelvoarc::CopyTruncated(qelvoarc::StatusName(code), name, Q_ERROR_NAME_SIZE);
    qelvoarc::CopyTruncated(wire::StatusText(code), text, Q_ERROR_TEXT_SIZE);
    return Q_OK;
}

uint32_t QGetReturnCodeString(uint32_t code, uint32_t form, char *buffer, uint32_t length) {
    if (buffer == nullptr || length == 0) return Q_ERR_INVALID_PARAMETER;
    switch (form) {
        case Q_RC_STRING_NAME:
            qelvoarc::CopyTruncated(qelvoarc::StatusName(code), buffer, length);
            return Q_OK;
        case Q_RC_STRING_TEXT:
            qelvoarc::CopyTruncated(wire::StatusText(code), buffer, length);
            return Q_OK;
        default:
            return Q_ERR_INVALID_PARAMETER;
    }
}

}  // extern "C"
