#include "store/firmware_store.h"

#include <stdexcept>

#include "platform/durable_file.h"

namespace sim {

namespace {

std::string VersionPath(const std::string &dataDir) {
    return dataDir + "/firmware.version";
}

std::string PendingPath(const std::string &dataDir) {
    return dataDir + "/upack.pending";
}

std::string_view RefusalText(Result result) {
    switch (result) {
        case Result::kUpackMalformed:
            return "not a package";
        case Result::kUpackUnknownSigner:
            return "unknown signer";
        case Result::kUpackBadSignature:
            return "bad signature";
        case Result::kUpackRollback:
            return "older than the running firmware";
        default:
            return "failed";
    }
}

}  // namespace

std::string FirmwareStore::StartUp(const std::string &dataDir, const std::string &configured,
                                   EventLog &events) {
    std::string running = configured;
    if (std::optional<std::string> applied = ReadSmallFile(VersionPath(dataDir))) {
        if (!wire::ParseFirmwareVersion(*applied))
            throw std::runtime_error(VersionPath(dataDir) + " holds no firmware version");
        running = *applied;
    }
    std::optional<std::string> pending = ReadSmallFile(PendingPath(dataDir));
    if (!pending) return running;
    // It passed its checks when it came; the directory is the HSM's alone since.
    std::optional<wire::UpackContents> package = wire::ParseUpack(*pending);
    if (!package) throw std::runtime_error(PendingPath(dataDir) + " holds no update package");
    const std::string version = wire::FormatFirmwareVersion(package->version);
    WriteFileDurably(VersionPath(dataDir), version);
    events.Record(
        Actor::Daemon(),
        "Firmware updated from " + running + " to " + version + ": " + package->description,
        kEventOk);
    RemoveFileDurably(PendingPath(dataDir));
    return version;
}

FirmwareStore::FirmwareStore(std::string dataDir, const std::string &running,
                             const UpackVerifier &verifier, EventLog &events)
    : dataDir_(std::move(dataDir)),
      running_(wire::ParseFirmwareVersion(running).value()),
      verifier_(verifier),
      events_(events) {}

Result FirmwareStore::Push(Actor actor, std::string_view package) {
    wire::UpackContents contents;
    Result result = verifier_.Verify(package, &contents);
    if (result == Result::kOk && contents.version < running_) result = Result::kUpackRollback;
    if (result != Result::kOk) {
        events_.Record(actor, "Firmware update package refused", RefusalText(result));
        return result;
    }
    std::lock_guard lock(mutex_);
    WriteFileDurably(PendingPath(dataDir_), package);
    pending_ = contents.description;
    events_.Record(actor,
                   "Firmware update package accepted: " +
                       wire::FormatFirmwareVersion(contents.version) + " " + pending_,
                   kEventOk);
    return Result::kOk;
}

std::string FirmwareStore::Pending() const {
    std::lock_guard lock(mutex_);
    return pending_;
}

}  // namespace sim
