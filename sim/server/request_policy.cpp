#include "server/request_policy.h"

#include "core/user_rights.h"
#include "service/mofn_guard.h"

namespace sim {

namespace {

uint32_t KindBit(SessionKind kind) {
    switch (kind) {
        case SessionKind::kUser:
            return kUserSessions;
        case SessionKind::kAnonymous:
            return kAnonymousSessions;
        case SessionKind::kPasswordChange:
            return kPasswordChangeSessions;
    }
    return 0;
}

// An expired password is told why it may do nothing else, so the client can offer a change.
Result RefusalFor(SessionKind kind) {
    return kind == SessionKind::kPasswordChange ? Result::kPasswordChangeOnly
                                                : Result::kAccessDenied;
}

Result CheckNeeds(const Needs &needs, Call &call) {
    if (needs.kind == Needs::Kind::kNothing) return Result::kOk;
    // Read for every request rather than kept with the session, so that a right taken away
    // is gone from the next request on.
    const std::string &user = call.session().user;
    if (!user.empty()) call.caller = call.hsm.users.FindUser(user);
    if (!call.caller) return Result::kAccessDenied;
    if (needs.kind == Needs::Kind::kAcl && !rights::Holds(call.caller->acl, needs.bits))
        return Result::kAccessDenied;
    if (needs.kind == Needs::Kind::kOperator && !rights::IsOperator(call.caller->acl))
        return Result::kAccessDenied;
    return Result::kOk;
}

// The caller's own partition under M of N: the custodians' authorization must grant what the
// request does to its objects.
Result CheckMofN(const Rule &rule, Call &call) {
    if (rule.mofnPermission == 0) return Result::kOk;
    if (!call.caller) call.caller = call.hsm.users.FindUser(call.session().user);
    if (!call.caller) return Result::kAccessDenied;
    return CheckMofNPermission(call.hsm, *call.caller, &call.session(), rule.mofnPermission);
}

}  // namespace

Result Admit(const Rule &rule, Call &call) {
    ConnectionState &conn = call.conn;
    if (call.hsm.backups.RestartRequired() && (rule.sessions & kAfterRestore) == 0)
        return Result::kRestartRequired;
    if (!conn.session)
        return (rule.sessions & kBeforeLogin) != 0 ? Result::kOk : Result::kNotAuthenticated;
    if ((rule.sessions & kBeforeLogin) != 0) return Result::kBadState;
    if (conn.session->ended) {  // its user was removed
        conn.session.reset();
        conn.closeAfterReply = true;
        return Result::kSessionExpired;
    }
    if ((rule.sessions & KindBit(conn.session->kind)) == 0) return RefusalFor(conn.session->kind);
    if (Result r = CheckNeeds(rule.needs, call); r != Result::kOk) return r;
    return CheckMofN(rule, call);
}

}  // namespace sim
