#include "service/hsm_status_service.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <optional>

#include "platform/machine_stats.h"
#include "policy/tamper_latch.h"
#include "service/replication_service.h"

namespace sim {

namespace {

constexpr uint32_t kNotAvailable = 0xFFFFFFFF;
constexpr uint32_t kBatteryFault = 0;
constexpr uint32_t kBatteryOk = 1;
constexpr uint64_t kMiB = 1024 * 1024;

std::string HardwareProfile() {
    utsname system{};
    const std::string machine = ::uname(&system) == 0 ? system.machine : "unknown";
    return "software, " + machine + ", " + std::to_string(::sysconf(_SC_NPROCESSORS_ONLN)) +
           " CPUs";
}

std::string HostName() {
    char name[256] = {};
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}

void FillHardware(HsmContext &hsm, pb::GetHsmStatusReply *reply) {
    reply->set_manufacturer("Orvena");
    reply->set_model(hsm.identity.model);
    reply->set_hardware_profile(HardwareProfile());
    // The console takes the firmware and the serial from the words after "Engine".
    reply->set_engine_description("Orvena " + hsm.identity.model + " Engine " +
                                  hsm.identity.firmware + " Serial: " + hsm.identity.serial);
    reply->set_tp_key(hsm.hardware.tpKey);
    // Empty until smart cards are made for a server master key.
    reply->set_svmk_fingerprint(hsm.mofn.CurrentSvmk());
    reply->set_machine_alias(HostName());
}

// Each field only from the record version that brought it, as older firmware answers.
Result HandleGetHsmStatus(Call &call, const pb::GetHsmStatus &, pb::GetHsmStatusReply *reply) {
    HsmContext &hsm = call.hsm;
    const uint32_t version = hsm.hardware.infoVersion;
    const MemoryFigures memory = ReadMemory();
    reply->set_version(version);
    reply->set_sessions(SaturateTo32(hsm.sessions.size()));
    reply->set_cpu_percent(CpuPercentSinceLastCall());
    reply->set_memory_total_kib(SaturateTo32(memory.totalKib));
    reply->set_memory_used_kib(SaturateTo32(memory.usedKib));
    if (version >= 2) reply->set_operation_mode(hsm.identity.hsmMode);
    if (version >= 3) {
        const StorageFigures storage = ReadStorage(hsm.hardware.dataDir);
        reply->set_storage_total_mib(SaturateTo32(storage.totalBytes / kMiB));
        reply->set_storage_free_mib(SaturateTo32(storage.freeBytes / kMiB));
    }
    if (version >= 5) reply->set_clock(static_cast<uint64_t>(hsm.clock.Now()));
    if (version >= 8) {
        reply->set_user_count(hsm.users.ListUsers().size());
        reply->set_object_count(hsm.keys.CountAll());
        const std::string db = hsm.hardware.dataDir + "/hsm.db";
        reply->set_database_bytes(FileSize(db) + FileSize(db + "-wal"));
    }
    // Version 10 adds the pending backup and update package.
    if (version >= 10) reply->set_backup_pending(hsm.backups.Pending());
    if (version >= 10) reply->set_pending_update(hsm.firmware.Pending());
    FillHardware(hsm, reply);
    FillReplicationStatus(hsm, reply->mutable_replication());
    return Result::kOk;
}

Result HandleGetUptime(Call &call, const pb::GetUptime &, pb::GetUptimeReply *reply) {
    const auto up = std::chrono::steady_clock::now() - call.hsm.hardware.started;
    reply->set_uptime(SaturateTo32(
        static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(up).count())));
    switch (call.hsm.hardware.battery) {
        case BatteryState::kOk:
            reply->set_battery(kBatteryOk);
            break;
        case BatteryState::kFault:
            reply->set_battery(kBatteryFault);
            break;
        case BatteryState::kAbsent:
            reply->set_battery(kNotAvailable);
            break;
    }
    return Result::kOk;
}

Result HandleGetHsmClock(Call &call, const pb::GetHsmClock &, pb::GetHsmClockReply *reply) {
    reply->set_time(static_cast<uint64_t>(call.hsm.clock.Now()));
    return Result::kOk;
}

// Unbound, the account and telemetry address are empty; the HSM's id is its serial number
// either way, since a bind key for another id is refused. Remote management is never on.
Result HandleGetP11Info(Call &call, const pb::GetP11Info &, pb::GetP11InfoReply *reply) {
    reply->set_tampered(TamperLatched(call.hsm.hardware.dataDir));
    reply->set_hsm_id(call.hsm.identity.serial);
    if (const std::optional<CloudBinding> binding = call.hsm.cloud.Binding()) {
        reply->set_telemetry(1);
        reply->set_cloud_account(binding->account);
        reply->set_telemetry_url(binding->telemetryUrl);
    }
    return Result::kOk;
}

}  // namespace

void RegisterHsmStatusService(DispatchTable &table) {
    const Needs remoteInfo = Needs::Acl(pb::ACL_REMOTE_INFO);
    table.Add<&pb::Request::get_hsm_status, &pb::Response::mutable_get_hsm_status>(
        HandleGetHsmStatus, remoteInfo, kNormalSessions | kAfterRestore);
    table.Add<&pb::Request::get_uptime, &pb::Response::mutable_get_uptime>(
        HandleGetUptime, remoteInfo, kNormalSessions | kAfterRestore);
    table.Add<&pb::Request::get_hsm_clock, &pb::Response::mutable_get_hsm_clock>(
        HandleGetHsmClock, remoteInfo, kNormalSessions | kAfterRestore);
    // What it tells (tamper, the HSM's id, the cloud binding) is read before any login.
    table.Add<&pb::Request::get_p11_info, &pb::Response::mutable_get_p11_info>(
        HandleGetP11Info, Needs::Nothing(), kNormalSessions | kAnonymousSessions | kAfterRestore);
}

}  // namespace sim
