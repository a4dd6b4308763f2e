#include "server/dispatcher.h"

#include <exception>

#include "core/secret.h"
#include "service/access_token_service.h"
#include "service/information_service.h"
#include "service/key_export_service.h"
#include "service/key_service.h"
#include "service/login_service.h"
#include "service/oath_service.h"
#include "service/object_service.h"
#include "service/password_policy_service.h"
#include "service/pkcs11_map_details.h"
#include "service/random_hash_service.h"
#include "service/user_admin_service.h"
#include "service/user_service.h"

namespace sim {

namespace {

using Body = wire::pb::Request::BodyCase;

bool AllowedWithoutRights(const wire::pb::Request &request) {
    return request.body_case() == Body::kLogout ||
           (request.body_case() == Body::kAdmOperation &&
            request.adm_operation().operation() == kAdmLiveness);
}

// What the session's kind allows beyond logout and liveness.
Result CheckSessionKind(const Session &session, const wire::pb::Request &request) {
    if (AllowedWithoutRights(request)) return Result::kOk;
    switch (session.kind) {
        case SessionKind::kUser:
            return Result::kOk;
        case SessionKind::kAnonymous:
            return request.body_case() == Body::kGetHsmInfo ? Result::kOk : Result::kAccessDenied;
        case SessionKind::kPasswordChange:
            return request.body_case() == Body::kSetUserParam &&
                           request.set_user_param().code() == kUserParamOwnPassword
                       ? Result::kOk
                       : Result::kPasswordChangeOnly;
    }
    return Result::kAccessDenied;
}

Result Route(HsmContext &hsm, ConnectionState &conn, const wire::pb::Request &request,
             wire::pb::Response *response) {
    if (request.body_case() == Body::kLogin) {
        if (conn.session) return Result::kBadState;
        return HandleLogin(hsm, conn, request.login(), response);
    }
    if (request.body_case() == Body::BODY_NOT_SET) return Result::kNotSupported;
    if (!conn.session) return Result::kNotAuthenticated;
    if (conn.session->ended) {  // its user was removed
        conn.session.reset();
        conn.closeAfterReply = true;
        return Result::kSessionExpired;
    }
    if (Result r = CheckSessionKind(*conn.session, request); r != Result::kOk) return r;
    switch (request.body_case()) {
        case Body::kLogout:
            return HandleLogout(hsm, conn);
        case Body::kAdmOperation:
            if (IsPasswordPolicyOperation(request.adm_operation().operation()))
                return HandlePasswordPolicyOperation(hsm, conn, request.adm_operation(), response);
            return HandleAdmOperation(request.adm_operation());
        case Body::kGetRandom:
            return HandleGetRandom(request.get_random(), response);
        case Body::kHashCreate:
            return HandleHashCreate(hsm, conn, request.hash_create(), response);
        case Body::kHashData:
            return HandleHashData(conn, request.hash_data());
        case Body::kHashGetParam:
            return HandleHashGetParam(conn, request.hash_get_param(), response);
        case Body::kHashSetParam:
            return HandleHashSetParam(conn, request.hash_set_param());
        case Body::kHashDestroy:
            return HandleHashDestroy(conn, request.hash_destroy());
        case Body::kGetHsmInfo:
            return HandleGetHsmInfo(hsm, request.get_hsm_info(), response);
        case Body::kGetUserAcl:
            return HandleGetUserAcl(hsm, conn, request.get_user_acl(), response);
        case Body::kSetUserParam:
            return HandleSetUserParam(hsm, conn, request.set_user_param());
        case Body::kCreateUser:
            return HandleCreateUser(hsm, conn, request.create_user());
        case Body::kRemoveUser:
            return HandleRemoveUser(hsm, conn, request.remove_user());
        case Body::kListUsers:
            return HandleListUsers(hsm, conn, response);
        case Body::kGetUserParam:
            return HandleGetUserParam(hsm, conn, request.get_user_param(), response);
        case Body::kAssignOathToken:
            return HandleAssignOathToken(hsm, conn, request.assign_oath_token());
        case Body::kUnassignOathToken:
            return HandleUnassignOathToken(hsm, conn, request.unassign_oath_token());
        case Body::kOathResync:
            return HandleOathResync(hsm, conn, request.oath_resync());
        case Body::kOathCheck:
            return HandleOathCheck(hsm, conn, request.oath_check());
        case Body::kListUserTrusts:
            return HandleListUserTrusts(hsm, conn, request.list_user_trusts(), response);
        case Body::kAccessTokenIssue:
            return HandleAccessTokenIssue(hsm, conn, request.access_token_issue(), response);
        case Body::kAccessTokenRevoke:
            return HandleAccessTokenRevoke(hsm, conn, request.access_token_revoke());
        case Body::kAccessTokenList:
            return HandleAccessTokenList(hsm, conn, request.access_token_list(), response);
        case Body::kAccessTokenCache:
            return HandleAccessTokenCache(hsm, conn, request.access_token_cache(), response);
        case Body::kKeyGenerate:
            return HandleKeyGenerate(hsm, conn, request.key_generate(), response);
        case Body::kKeyImport:
            return HandleKeyImport(hsm, conn, request.key_import(), response);
        case Body::kKeyCheckValue:
            return HandleKeyCheckValue(hsm, conn, request.key_check_value(), response);
        case Body::kEftImportKey:
            return HandleEftImportKey(hsm, conn, request.eft_import_key(), response);
        case Body::kKeyExport:
            return HandleKeyExport(hsm, conn, request.key_export(), response);
        case Body::kKeySetParam:
            return HandleKeySetParam(hsm, conn, request.key_set_param(), response);
        case Body::kPkcs11MapDetailsRead:
            return HandlePkcs11MapDetailsRead(hsm, conn, request.pkcs11_map_details_read(),
                                              response);
        case Body::kObjectOpen:
            return HandleObjectOpen(hsm, conn, request.object_open(), response);
        case Body::kObjectRemove:
            return HandleObjectRemove(hsm, conn, request.object_remove());
        case Body::kObjectList:
            return HandleObjectList(hsm, conn, request.object_list(), response);
        case Body::kMapCreate:
            return HandleMapCreate(hsm, conn, request.map_create());
        case Body::kPkcs11MapCreate:
            return HandlePkcs11MapCreate(hsm, conn, request.pkcs11_map_create());
        case Body::kMetadataWrite:
            return HandleMetadataWrite(hsm, conn, request.metadata_write());
        default:
            return Result::kNotSupported;
    }
}

void WipeSecrets(wire::pb::Request &request) {
    switch (request.body_case()) {
        case Body::kLogin:
            WipeString(request.mutable_login()->mutable_password());
            WipeString(request.mutable_login()->mutable_otp());
            WipeString(request.mutable_login()->mutable_access_token());
            break;
        case Body::kSetUserParam:
            WipeString(request.mutable_set_user_param()->mutable_data());
            break;
        case Body::kCreateUser:
            WipeString(request.mutable_create_user()->mutable_password());
            break;
        case Body::kAssignOathToken:
            WipeString(request.mutable_assign_oath_token()->mutable_seed());
            break;
        case Body::kOathResync:
            WipeString(request.mutable_oath_resync()->mutable_first_otp());
            WipeString(request.mutable_oath_resync()->mutable_next_otp());
            break;
        case Body::kOathCheck:
            WipeString(request.mutable_oath_check()->mutable_otp());
            break;
        case Body::kAccessTokenRevoke:
            WipeString(request.mutable_access_token_revoke()->mutable_token());
            break;
        case Body::kAccessTokenList:
            WipeString(request.mutable_access_token_list()->mutable_token());
            break;
        case Body::kHashSetParam:
            WipeString(request.mutable_hash_set_param()->mutable_value());
            break;
        case Body::kKeyImport:
            WipeString(request.mutable_key_import()->mutable_material());
            break;
        case Body::kEftImportKey:
            WipeString(request.mutable_eft_import_key()->mutable_record());
            break;
        default:
            break;
    }
}

}  // namespace

wire::pb::Response Dispatch(HsmContext &hsm, ConnectionState &conn, wire::pb::Request &request) {
    wire::pb::Response response;
    Result result;
    try {
        result = Route(hsm, conn, request, &response);
    } catch (const std::exception &) {
        response.Clear();
        result = Result::kInternal;
    }
    WipeSecrets(request);
    response.set_status(ToWireStatus(result));
    return response;
}

}  // namespace sim
