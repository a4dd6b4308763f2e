#include "server/dispatcher.h"

#include "store/commit_hook.h"

#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "secret_fields.h"
#include "server/request_policy.h"
#include "status.h"
#include "store/database.h"

namespace sim {

namespace {

// Field names of the request envelope: what the log calls a request.
std::string_view RequestName(const pb::Request &request) {
    const google::protobuf::FieldDescriptor *field =
        pb::Request::descriptor()->FindFieldByNumber(request.body_case());
    return field == nullptr ? std::string_view("an unknown request") : field->name();
}

// Names the session user, never anything the request carried.
void LogInternalError(DiagnosticLog &log, const pb::Request &request,
                      const std::shared_ptr<Session> &session, std::string_view cause) {
    std::string line = "internal error in ";
    line += RequestName(request);
    if (!session)
        line += " before login";
    else if (session->user.empty())
        line += " of an anonymous session";
    else
        line += " of user " + session->user;
    if (!cause.empty()) line.append(": ").append(cause);
    log.Write(line);
}

// The audit trail of the policy step: every request it refuses for want of a right, in a
// session of the wrong kind, or without the M of N authorization it needs, is logged as its
// session's user. A handler's M of N refusal (the partition acted on is not the caller's) is
// the same refusal, found later.
bool IsLoggedRefusal(Result result) {
    return result == Result::kAccessDenied || result == Result::kMofNNotAuthorized;
}

void RecordRefusal(HsmContext &hsm, const pb::Request &request, const Session &session,
                   Result result) {
    hsm.events.Record(
        Actor::User(session.user), "Request refused: " + std::string(RequestName(request)),
        result == Result::kAccessDenied ? "access denied" : wire::StatusText(ToWireStatus(result)));
}

// A login whose password has expired still opened a session, and the client needs its reply.
bool CarriesReply(Result result) {
    return result == Result::kOk || result == Result::kPasswordExpired;
}

}  // namespace

pb::Response Dispatch(const DispatchTable &table, HsmContext &hsm, ConnectionState &conn,
                      pb::Request &request) {
    // Kept for the log: a logout or a removed user ends the connection's session meanwhile.
    const std::shared_ptr<Session> session = conn.session;
    pb::Response response;
    Call call{hsm, conn, std::nullopt};
    Result result = Result::kInternal;
    try {
        const DispatchTable::Entry *entry = table.Find(request.body_case());
        result = entry == nullptr ? Result::kNotSupported : Admit(entry->rule, call);
        if (IsLoggedRefusal(result) && session) RecordRefusal(hsm, request, *session, result);
        if (result == Result::kOk) {
            result = entry->run(call, request, &response);
            if (result == Result::kMofNNotAuthorized && session)
                RecordRefusal(hsm, request, *session, result);
        }
        if (result == Result::kInternal) LogInternalError(hsm.log, request, session, {});
    } catch (const StorageFull &e) {
        // Not a fault of the HSM's: the operator frees room. Still worth a line, without
        // the request's values.
        result = Result::kStorageFull;
        hsm.log.Write("storage full in " + std::string(RequestName(request)) + ": " + e.what());
    } catch (const CommitRefused &e) {
        result = e.result();
    } catch (const std::exception &e) {
        result = Result::kInternal;
        LogInternalError(hsm.log, request, session, e.what());
    }
    wire::WipeSecretFields(request);
    if (!CarriesReply(result)) {
        wire::WipeSecretFields(response);
        response.clear_body();
    }
    response.set_status(ToWireStatus(result));
    return response;
}

}  // namespace sim
