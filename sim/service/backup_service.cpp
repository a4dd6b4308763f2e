#include "service/backup_service.h"

#include <string_view>

namespace sim {

namespace {

// The most one part of a transfer carries.
constexpr uint32_t kMaxPartBytes = 1u << 20;
constexpr uint32_t kRestoreWithNetwork = 1;
constexpr uint32_t kRestoreKeepingNetwork = 2;

std::string_view RestoreOutcome(Result result) {
    switch (result) {
        case Result::kBackupPassword:
            return "wrong password";
        case Result::kBackupDamaged:
            return "damaged file";
        case Result::kBackupVersion:
            return "newer format";
        case Result::kNotABackup:
            return "not a backup";
        default:
            return "failed";
    }
}

// Ends the session's restore after a fault of its file, and logs the refusal.
Result FailRestore(Call &call, Result result) {
    call.session().restore.reset();
    call.hsm.events.Record(call.actor(), "Restore backup", RestoreOutcome(result));
    return result;
}

Result HandleStartBackup(Call &call, const pb::StartBackup &request, pb::StartBackupReply *reply) {
    Session &session = call.session();
    session.backup.reset();
    std::unique_ptr<BackupSnapshot> snapshot = call.hsm.backups.TakeSnapshot();
    const int fd = snapshot->fd();
    session.backup.reset(
        new BackupTransfer{++session.lastTransfer, std::move(snapshot),
                           BackupEncoder(request.password(), call.hsm.masterKey, fd)});
    reply->set_transfer_id(session.backup->id);
    return Result::kOk;
}

BackupTransfer *FindBackup(Call &call, uint64_t id) {
    BackupTransfer *transfer = call.session().backup.get();
    return transfer != nullptr && transfer->id == id ? transfer : nullptr;
}

Result HandleReadBackup(Call &call, const pb::ReadBackup &request, pb::ReadBackupReply *reply) {
    BackupTransfer *transfer = FindBackup(call, request.transfer_id());
    if (transfer == nullptr) return Result::kInvalidHandle;
    if (request.length() == 0 || request.length() > kMaxPartBytes) return Result::kInvalidLength;
    transfer->encoder.Next(request.length(), reply->mutable_data());
    return Result::kOk;
}

Result HandleEndBackup(Call &call, const pb::EndBackup &request, pb::EndBackupReply *) {
    BackupTransfer *transfer = FindBackup(call, request.transfer_id());
    if (transfer == nullptr) return Result::kInvalidHandle;
    const std::unique_ptr<BackupTransfer> ended = std::move(call.session().backup);
    if (!request.complete()) return Result::kOk;
    if (!ended->encoder.Whole()) return Result::kBadState;
    call.hsm.backups.RecordBackup(call.actor(), *ended->snapshot);
    return Result::kOk;
}

Result HandleStartRestore(Call &call, const pb::StartRestore &request,
                          pb::StartRestoreReply *reply) {
    if (request.network() != kRestoreWithNetwork && request.network() != kRestoreKeepingNetwork)
        return Result::kInvalidParameter;
    Session &session = call.session();
    session.restore.reset();
    std::unique_ptr<RestoreTarget> target = call.hsm.backups.BeginRestore();
    if (target == nullptr) return Result::kBadState;  // another session is restoring
    const int fd = target->fd();
    session.restore.reset(new RestoreTransfer{++session.lastTransfer, std::move(target),
                                              BackupDecoder(request.password(), fd),
                                              request.network() == kRestoreKeepingNetwork});
    reply->set_transfer_id(session.restore->id);
    return Result::kOk;
}

RestoreTransfer *FindRestore(Call &call, uint64_t id) {
    RestoreTransfer *transfer = call.session().restore.get();
    return transfer != nullptr && transfer->id == id ? transfer : nullptr;
}

// Runs a step of the session's restore. A step that throws (the disk is full) may have
// written part of a chunk, so the restore ends with it rather than go on past the gap.
template <class Step>
Result RestoreStep(Call &call, Step step) {
    try {
        if (Result r = step(); r != Result::kOk) return FailRestore(call, r);
        return Result::kOk;
    } catch (...) {
        call.session().restore.reset();
        throw;
    }
}

Result HandleWriteRestore(Call &call, const pb::WriteRestore &request, pb::WriteRestoreReply *) {
    RestoreTransfer *transfer = FindRestore(call, request.transfer_id());
    if (transfer == nullptr) return Result::kInvalidHandle;
    if (request.data().size() > kMaxPartBytes) return Result::kInvalidLength;
    return RestoreStep(call, [&] { return transfer->decoder.Feed(request.data()); });
}

Result HandleFinishRestore(Call &call, const pb::FinishRestore &request, pb::FinishRestoreReply *) {
    RestoreTransfer *transfer = FindRestore(call, request.transfer_id());
    if (transfer == nullptr) return Result::kInvalidHandle;
    SecretBytes masterKey;
    if (Result r = RestoreStep(call,
                               [&] {
                                   Result finished = transfer->decoder.Finish(&masterKey);
                                   if (finished != Result::kOk) return finished;
                                   return call.hsm.backups.CommitRestore(
                                       call.actor(), *transfer->target, masterKey,
                                       transfer->keepNetwork);
                               });
        r != Result::kOk)
        return r;
    call.session().restore.reset();
    call.hsm.sessions.EndAllBut(call.session().id);
    return Result::kOk;
}

}  // namespace

void RegisterBackupService(DispatchTable &table) {
    const Needs backup = Needs::Acl(pb::ACL_BACKUP);
    table.Add<&pb::Request::start_backup, &pb::Response::mutable_start_backup>(
        HandleStartBackup, backup, kNormalSessions);
    table.Add<&pb::Request::read_backup, &pb::Response::mutable_read_backup>(
        HandleReadBackup, backup, kNormalSessions);
    table.Add<&pb::Request::end_backup, &pb::Response::mutable_end_backup>(HandleEndBackup, backup,
                                                                           kNormalSessions);
    table.Add<&pb::Request::start_restore, &pb::Response::mutable_start_restore>(
        HandleStartRestore, backup, kNormalSessions);
    table.Add<&pb::Request::write_restore, &pb::Response::mutable_write_restore>(
        HandleWriteRestore, backup, kNormalSessions);
    table.Add<&pb::Request::finish_restore, &pb::Response::mutable_finish_restore>(
        HandleFinishRestore, backup, kNormalSessions);
}

}  // namespace sim
