#pragma once
// Helpers shared by the key, object, metadata and EFT families.

#include <cstdint>
#include <memory>
#include <string>

#include "key_object.h"
#include "qelvoarc.h"

namespace qelvoarc {

// The object name of a caller's argument: OK, or ERR_INVALID_PARAMETER when it is null,
// empty or longer than Q_MAX_OBJ_NAME.
uint32_t ObjectName(const char *name, std::string *out);

// A new key handle for `info` on `session`.
QKeyHandle AddKeyHandle(std::shared_ptr<Session> session, const pb::ObjectInfo &info);

// The object `name` of the session's partition: from the listing being delivered, else from
// the HSM.
uint32_t OpenObject(Session &session, const std::string &name, uint32_t options,
                    pb::ObjectInfo *info);

// The object behind a key handle, or null with *status set.
std::shared_ptr<KeyObject> FindKey(QKeyHandle handle, uint32_t *status);

}  // namespace qelvoarc
