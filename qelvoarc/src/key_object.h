#pragma once
// What key and metadata handles hold on the library side.

#include <atomic>
#include <memory>
#include <string>

#include "envelope.pb.h"
#include "session.h"

namespace qelvoarc {

// An object of a session's partition as it was when the handle was made. Parameter reads
// answer from `info`; operations that need the HSM name the object by `info.object_id()`
// or its name through `session`.
struct KeyObject {
    KeyObject(std::shared_ptr<Session> owner, pb::ObjectInfo description)
        : session(std::move(owner)), info(std::move(description)), blocked(info.blocked()) {}

    std::shared_ptr<Session> session;
    const pb::ObjectInfo info;
    // The one attribute a handle changes (QSetKeyParam); may be read and written from
    // several threads.
    std::atomic<bool> blocked;
};

// A set of metadata items, not tied to a session until QManageObjMetadata writes it.
struct ObjMetadata {
    std::string label;
    bool hasLabel = false;
};

}  // namespace qelvoarc
