#pragma once
// A backup or restore in progress on one session.

#include <cstdint>
#include <memory>

#include "store/backup_format.h"
#include "store/backup_store.h"

namespace sim {

struct BackupTransfer {
    uint64_t id;
    std::unique_ptr<BackupSnapshot> snapshot;
    BackupEncoder encoder;  // reads snapshot's file
};

struct RestoreTransfer {
    uint64_t id;
    std::unique_ptr<RestoreTarget> target;
    BackupDecoder decoder;  // writes target's file
    bool keepNetwork;
};

}  // namespace sim
