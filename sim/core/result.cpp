#include "core/result.h"

namespace sim {

wire::Status ToWireStatus(Result result) {
    switch (result) {
        case Result::kOk:
            return wire::OK;
        case Result::kInternal:
            return wire::ERR_INTERNAL;
        case Result::kInvalidParameter:
            return wire::ERR_INVALID_PARAMETER;
        case Result::kInvalidLength:
            return wire::ERR_INVALID_LENGTH;
        case Result::kNotSupported:
            return wire::ERR_NOT_SUPPORTED;
        case Result::kNotAuthenticated:
            return wire::ERR_NOT_AUTHENTICATED;
        case Result::kAccessDenied:
            return wire::ERR_ACCESS_DENIED;
        case Result::kAuthFailed:
            return wire::ERR_AUTH_FAILED;
        case Result::kUserBlocked:
            return wire::ERR_USER_BLOCKED;
        case Result::kOtpRequired:
            return wire::ERR_OTP_REQUIRED;
        case Result::kOtpInvalid:
            return wire::ERR_OTP_INVALID;
        case Result::kCertRequired:
            return wire::ERR_CERT_REQUIRED;
        case Result::kCertMismatch:
            return wire::ERR_CERT_MISMATCH;
        case Result::kTokenInvalid:
            return wire::ERR_TOKEN_INVALID;
        case Result::kTokenExpired:
            return wire::ERR_TOKEN_EXPIRED;
        case Result::kSessionLimit:
            return wire::ERR_SESSION_LIMIT;
        case Result::kSessionExpired:
            return wire::ERR_SESSION_EXPIRED;
        case Result::kPasswordExpired:
            return wire::ERR_PASSWORD_EXPIRED;
        case Result::kPasswordChangeOnly:
            return wire::ERR_PASSWORD_CHANGE_ONLY;
        case Result::kPasswordPolicy:
            return wire::ERR_PASSWORD_POLICY;
        case Result::kNotFound:
            return wire::ERR_NOT_FOUND;
        case Result::kAlreadyExists:
            return wire::ERR_ALREADY_EXISTS;
        case Result::kInvalidHandle:
            return wire::ERR_INVALID_HANDLE;
        case Result::kBadAlgorithm:
            return wire::ERR_BAD_ALGORITHM;
        case Result::kBadState:
            return wire::ERR_BAD_STATE;
        case Result::kProtocol:
            return wire::ERR_PROTOCOL;
        case Result::kNoMemory:
            return wire::ERR_NO_MEMORY;
        case Result::kKcvMismatch:
            return wire::ERR_KCV_MISMATCH;
        case Result::kNotExportable:
            return wire::ERR_NOT_EXPORTABLE;
        case Result::kWrongObjectType:
            return wire::ERR_WRONG_OBJECT_TYPE;
        case Result::kKeyBlocked:
            return wire::ERR_KEY_BLOCKED;
        case Result::kBadCertificate:
            return wire::ERR_BAD_CERTIFICATE;
        case Result::kBadPan:
            return wire::ERR_BAD_PAN;
        case Result::kBadExpirationDate:
            return wire::ERR_BAD_EXPIRATION_DATE;
        case Result::kBadServiceCode:
            return wire::ERR_BAD_SERVICE_CODE;
        case Result::kKekTooWeak:
            return wire::ERR_KEK_TOO_WEAK;
        case Result::kUpackMalformed:
            return wire::ERR_UPACK_MALFORMED;
        case Result::kUpackBadSignature:
            return wire::ERR_UPACK_BAD_SIGNATURE;
        case Result::kUpackUnknownSigner:
            return wire::ERR_UPACK_UNKNOWN_SIGNER;
        case Result::kUpackRollback:
            return wire::ERR_UPACK_ROLLBACK;
        case Result::kBlobForeignHsm:
            return wire::ERR_BLOB_FOREIGN_HSM;
        case Result::kBlobDamaged:
            return wire::ERR_BLOB_DAMAGED;
    }
    return wire::ERR_INTERNAL;
}

}  // namespace sim
