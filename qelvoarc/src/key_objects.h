#pragma once
// Helpers shared by the key, object, metadata and EFT families.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "key_object.h"
#include "qelvoarc.h"

namespace qelvoarc {

// Copies text into a fixed field, NUL-padded, not terminated when full.
template <size_t N>
void CopyField(char (&field)[N], const std::string &text) {
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), std::min(N, text.size()));
}

// The object name of a caller's argument: OK, or ERR_INVALID_PARAMETER when it is null,
// empty or longer than Q_MAX_OBJ_NAME.
[[nodiscard]] uint32_t ObjectName(const char *name, std::string *out);

// A new key handle for `info` on `session`.
QKeyHandle AddKeyHandle(std::shared_ptr<Session> session, const pb::ObjectInfo &info);

// The object `name` of the session's partition: from the listing being delivered, else from
// the HSM.
[[nodiscard]] uint32_t OpenObject(Session &session, const std::string &name, uint32_t options,
                                  pb::ObjectInfo *info);

// A copy-out step of Remote that keeps the object a reply describes.
inline auto KeepObject(pb::ObjectInfo *info) {
    return [info](const auto &reply) { *info = reply.object(); };
}

// The object behind a key handle, or null with *status set.
std::shared_ptr<KeyObject> FindKey(QKeyHandle handle, uint32_t *status);

}  // namespace qelvoarc
