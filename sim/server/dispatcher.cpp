#include "server/dispatcher.h"

#include <exception>

#include "core/secret.h"
#include "service/information_service.h"
#include "service/login_service.h"
#include "service/random_hash_service.h"
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
    if (Result r = CheckSessionKind(*conn.session, request); r != Result::kOk) return r;
    switch (request.body_case()) {
        case Body::kLogout:
            return HandleLogout(hsm, conn);
        case Body::kAdmOperation:
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
        case Body::kHashSetParam:
            WipeString(request.mutable_hash_set_param()->mutable_value());
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
