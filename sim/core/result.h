#pragma once
// Outcomes of the simulator's own operations. They are translated to wire statuses in
// exactly one place (ToWireStatus) so that services never pick protocol numbers.

#include <cstdint>

#include "status.h"

namespace sim {

enum class [[nodiscard]] Result{
    kOk,
    kInternal,
    kInvalidParameter,
    kInvalidLength,
    kNotSupported,
    kNotAuthenticated,
    kAccessDenied,
    kAuthFailed,
    kUserBlocked,
    kOtpRequired,
    kOtpInvalid,
    kCertRequired,
    kCertMismatch,
    kTokenInvalid,
    kTokenExpired,
    kSessionLimit,
    kSessionExpired,
    kPasswordExpired,
    kPasswordChangeOnly,
    kPasswordPolicy,
    kNotFound,
    kAlreadyExists,
    kInvalidHandle,
    kBadAlgorithm,
    kBadState,
    kProtocol,
    kNoMemory,
    kKcvMismatch,
    kNotExportable,
    kWrongObjectType,
    kKeyBlocked,
    kBadCertificate,
    kBadPan,
    kBadExpirationDate,
    kBadServiceCode,
    kKekTooWeak,
    kUpackMalformed,
    kUpackBadSignature,
    kUpackUnknownSigner,
    kUpackRollback,
    kBlobForeignHsm,
    kBlobDamaged,
    kRestartRequired,
    kBackupPassword,
    kBackupDamaged,
    kBackupVersion,
    kNotABackup,
    kReplicationUnreachable,
    kReplicationConflict,
    kForeignNode,
    kNodeTestFailed,
    kNodeListFull,
    kNodeUnknown,
    kNodeExists,
    kOutOfSync,
};

wire::Status ToWireStatus(Result result);

}  // namespace sim
