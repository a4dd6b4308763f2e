#include "key_objects.h"

#include <cstring>

#include "library_state.h"
#include "listing_snapshot.h"
#include "remote_call.h"

namespace qelvoarc {

uint32_t ObjectName(const char *name, std::string *out) {
    if (name == nullptr) return wire::ERR_INVALID_PARAMETER;
    size_t length = strnlen(name, Q_MAX_OBJ_NAME + 1);
    if (length == 0 || length > Q_MAX_OBJ_NAME) return wire::ERR_INVALID_PARAMETER;
    out->assign(name, length);
    return wire::OK;
}

QKeyHandle AddKeyHandle(std::shared_ptr<Session> session, const pb::ObjectInfo &info) {
    return LibraryState::Get().keys.Add(std::make_shared<KeyObject>(std::move(session), info));
}

uint32_t OpenObject(Session &session, const std::string &name, uint32_t options,
                    pb::ObjectInfo *info) {
    if (std::optional<pb::ObjectInfo> listed = FindListed(&session, name)) {
        *info = std::move(*listed);
        return wire::OK;
    }
    pb::OpenObject request;
    request.set_name(name);
    request.set_options(options);
    return Remote<pb::OpenObjectReply>(session, std::move(request), KeepObject(info));
}

std::shared_ptr<KeyObject> FindKey(QKeyHandle handle, uint32_t *status) {
    if (!LibraryState::Get().initialized()) {
        *status = wire::ERR_NOT_INITIALIZED;
        return nullptr;
    }
    std::shared_ptr<KeyObject> key = LibraryState::Get().keys.Find(handle);
    // A handle outlives neither its session nor the session's connection.
    if (key == nullptr ||
        key->session->WithConnection([](Connection &) { return uint32_t{wire::OK}; }) != wire::OK) {
        *status = wire::ERR_INVALID_HANDLE;
        return nullptr;
    }
    *status = wire::OK;
    return key;
}

}  // namespace qelvoarc
