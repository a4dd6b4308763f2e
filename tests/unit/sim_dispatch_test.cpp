// The dispatcher around every handler: which requests a connection may send before any
// handler runs, the secrets wiped from requests and replies, and the diagnostic log.

#include <sys/socket.h>

#include <set>
#include <stdexcept>

#include "options.pb.h"
#include "secret_fields.h"
#include "server/connection.h"
#include "sim_hsm_fixture.h"

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
namespace pb = wire::pb;

pb::Request RequestOf(int number) {
    pb::Request request;
    request.GetReflection()->MutableMessage(&request,
                                            pb::Request::descriptor()->FindFieldByNumber(number));
    return request;
}

// Calls `visit` on every secret string field of the request's body.
template <class Visit>
void ForEachSecret(pb::Request &request, Visit visit) {
    const FieldDescriptor *bodyField =
        pb::Request::descriptor()->FindFieldByNumber(request.body_case());
    Message *body = request.GetReflection()->MutableMessage(&request, bodyField);
    for (int i = 0; i < body->GetDescriptor()->field_count(); ++i) {
        const FieldDescriptor *field = body->GetDescriptor()->field(i);
        if (field->options().GetExtension(pb::secret)) visit(*body, *field);
    }
}

class SimDispatch : public SimHsm {
  protected:
    SimDispatch() {
        AddUser("op", "Operator#1", 0x80);
        AddUser("plain", "Plain#1234", 0);
        // The services' rules, with handlers that only note that they ran.
        for (const auto &[number, entry] : sim::ServiceTable().entries())
            recording_.Add(number, entry.rule,
                           [this, number](sim::Call &, const pb::Request &, pb::Response *) {
                               ran_.insert(number);
                               return sim::Result::kOk;
                           });
    }

    // Sends every registered request on `conn` (but a login on a session) and expects
    // `refused` of all but `allowed`, whose handlers alone ran.
    void ExpectOnly(sim::ConnectionState &conn, const std::set<int> &allowed,
                    wire::Status refused) {
        for (const auto &[number, entry] : recording_.entries()) {
            if (conn.session && number == pb::Request::kLogin) continue;
            ran_.clear();
            bool admitted = allowed.count(number) > 0;
            EXPECT_EQ(Send(conn, RequestOf(number), recording_).status(),
                      admitted ? wire::OK : refused)
                << "request " << number;
            EXPECT_EQ(ran_.count(number), admitted ? 1u : 0u) << "request " << number;
        }
    }

    sim::DispatchTable recording_;
    std::set<int> ran_;
};

TEST_F(SimDispatch, EveryRequestOfTheEnvelopeHasAHandler) {
    const auto *body = pb::Request::descriptor()->FindOneofByName("body");
    for (int i = 0; i < body->field_count(); ++i)
        EXPECT_NE(sim::ServiceTable().Find(body->field(i)->number()), nullptr)
            << body->field(i)->name();
}

TEST_F(SimDispatch, SessionKindsAreCheckedBeforeAnyHandlerRuns) {
    sim::ConnectionState none;
    ExpectOnly(none, {pb::Request::kLogin}, wire::ERR_NOT_AUTHENTICATED);
    sim::ConnectionState anonymous = SessionOf("", sim::SessionKind::kAnonymous);
    ExpectOnly(anonymous,
               {pb::Request::kLogout, pb::Request::kLiveness, pb::Request::kGetVersionText,
                pb::Request::kGetHsmMode, pb::Request::kGetP11Info},
               wire::ERR_ACCESS_DENIED);
    sim::ConnectionState expired = SessionOf("plain", sim::SessionKind::kPasswordChange);
    ExpectOnly(expired,
               {pb::Request::kLogout, pb::Request::kLiveness, pb::Request::kSetOwnPassword},
               wire::ERR_PASSWORD_CHANGE_ONLY);

    sim::ConnectionState user = SessionOf("plain");
    ran_.clear();
    EXPECT_EQ(Send(user, RequestOf(pb::Request::kLogin), recording_).status(), wire::ERR_BAD_STATE);
    EXPECT_TRUE(ran_.empty());
}

TEST_F(SimDispatch, RightsAreReadFreshAndCheckedBeforeAnyHandlerRuns) {
    const std::set<int> needRights = {pb::Request::kCreateUser,
                                      pb::Request::kRemoveUser,
                                      pb::Request::kListUsers,
                                      pb::Request::kCountAccessTokens,
                                      pb::Request::kCollectAccessTokens,
                                      pb::Request::kSetPasswordPolicy,
                                      pb::Request::kGetHsmStatus,
                                      pb::Request::kGetReplicationNodes,
                                      pb::Request::kGetUptime,
                                      pb::Request::kGetHsmClock,
                                      pb::Request::kGetStatInfo,
                                      pb::Request::kGetNetInfo,
                                      pb::Request::kListLoadedModules,
                                      pb::Request::kListSessions,
                                      pb::Request::kGetLogSize,
                                      pb::Request::kReadLog,
                                      pb::Request::kClearLog,
                                      pb::Request::kStartLogDownload,
                                      pb::Request::kReadLogDownload,
                                      pb::Request::kEndLogDownload,
                                      pb::Request::kFollowLog,
                                      pb::Request::kBackupObject,
                                      pb::Request::kRestoreObject,
                                      pb::Request::kPushUpdatePackage,
                                      pb::Request::kStartBackup,
                                      pb::Request::kReadBackup,
                                      pb::Request::kEndBackup,
                                      pb::Request::kStartRestore,
                                      pb::Request::kWriteRestore,
                                      pb::Request::kFinishRestore,
                                      pb::Request::kGetIpFilter,
                                      pb::Request::kAddIpFilterEntry,
                                      pb::Request::kRemoveIpFilterEntry,
                                      pb::Request::kSetIpFilterEnabled,
                                      pb::Request::kRunNetworkTool,
                                      pb::Request::kBindHsm,
                                      pb::Request::kUnbindHsm,
                                      pb::Request::kGetSecurityPolicy,
                                      pb::Request::kSetSecurityPolicy,
                                      pb::Request::kSetEftdHeaderLength,
                                      pb::Request::kSetEftdPinLength,
                                      pb::Request::kResetEftdConfig,
                                      pb::Request::kRefreshReplication,
                                      pb::Request::kNodeOperation};
    std::set<int> allowed;
    for (const auto &[number, entry] : recording_.entries())
        if (!needRights.count(number)) allowed.insert(number);
    sim::ConnectionState plain = SessionOf("plain");
    ExpectOnly(plain, allowed, wire::ERR_ACCESS_DENIED);

    ASSERT_EQ(data_.users().SetAcl(sim::Actor::Daemon(), "plain", pb::ACL_LIST_USERS),
              sim::Result::kOk);
    EXPECT_EQ(Send(plain, RequestOf(pb::Request::kListUsers), recording_).status(), wire::OK);
    ASSERT_EQ(data_.users().SetAcl(sim::Actor::Daemon(), "plain", 0), sim::Result::kOk);
    EXPECT_EQ(Send(plain, RequestOf(pb::Request::kListUsers), recording_).status(),
              wire::ERR_ACCESS_DENIED);
}

TEST_F(SimDispatch, SecretsOfEveryRequestAreWipedWhetherServedOrRefused) {
    sim::ConnectionState op = SessionOf("op");
    sim::ConnectionState none;
    for (const auto &[number, entry] : recording_.entries())
        for (sim::ConnectionState *conn : {&op, &none}) {
            pb::Request request = RequestOf(number);
            ForEachSecret(request, [](Message &body, const FieldDescriptor &field) {
                if (field.is_repeated())
                    body.GetReflection()->AddString(&body, &field, "Secret#123");
                else
                    body.GetReflection()->SetString(&body, &field, "Secret#123");
            });
            sim::Dispatch(recording_, hsm_, *conn, request);
            EXPECT_FALSE(wire::WipeSecretFields(request)) << "request " << number;
        }
}

TEST_F(SimDispatch, ASentTokenLeavesNoCopyInTheReply) {
    sim::ConnectionState op = SessionOf("op");
    pb::Request issue;
    issue.mutable_issue_access_token()->set_expiration(UINT64_MAX);
    pb::Response response = Send(op, issue);
    ASSERT_EQ(response.issue_access_token().token().size(), 32u);
    const std::string token = response.issue_access_token().token();

    int fds[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
    wire::Stream server(fds[0], nullptr), client(fds[1], nullptr);
    EXPECT_TRUE(sim::SendResponse(server, response));
    EXPECT_FALSE(wire::WipeSecretFields(response));  // nothing left to wipe
    std::string frame;
    pb::Response received;
    ASSERT_EQ(wire::ReadFrame(client, frame), wire::OK);
    ASSERT_TRUE(received.ParseFromString(frame));
    EXPECT_EQ(received.issue_access_token().token(), token);
    ::close(fds[0]);
    ::close(fds[1]);
}

TEST_F(SimDispatch, InternalErrorsAreLoggedWithTheirCauseAndNoValues) {
    sim::DispatchTable failing;
    failing.Add(pb::Request::kCreateUser, {},
                [](sim::Call &, const pb::Request &, pb::Response *response) -> sim::Result {
                    response->mutable_create_user();
                    throw std::runtime_error("disk I/O error");
                });
    failing.Add(pb::Request::kRemoveUser, {}, [](sim::Call &, const pb::Request &, pb::Response *) {
        return sim::Result::kInternal;
    });
    sim::ConnectionState op = SessionOf("op");
    pb::Request create;
    create.mutable_create_user()->set_user("newcomer");
    create.mutable_create_user()->set_password("Hunter#2024");
    pb::Response response = Send(op, create, failing);
    EXPECT_EQ(response.status(), wire::ERR_INTERNAL);
    EXPECT_FALSE(response.has_create_user());
    pb::Request remove;
    remove.mutable_remove_user()->set_user("newcomer");
    EXPECT_EQ(Send(op, remove, failing).status(), wire::ERR_INTERNAL);

    const std::string log = LogText();
    EXPECT_NE(log.find("internal error in create_user of user op: disk I/O error"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("internal error in remove_user of user op\n"), std::string::npos) << log;
    EXPECT_EQ(log.find("Hunter#2024"), std::string::npos);
    EXPECT_EQ(log.find("newcomer"), std::string::npos);
}

}  // namespace
