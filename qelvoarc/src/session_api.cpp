// Library lifetime and sessions.

#include <cstring>

#include "abi_guard.h"
#include "library_state.h"
#include "login_request.h"
#include "qelvoarc.h"
#include "remote_call.h"

namespace qelvoarc {
namespace {

constexpr uint32_t kVersion[4] = {QELVOARC_VERSION_PARTS};
constexpr uint32_t kKnownSessionFlags = Q_SESSION_TLS | Q_SESSION_CLEAR | Q_SESSION_KEEPALIVE |
                                        Q_SESSION_FAST_CONNECT | Q_SESSION_RESERVED_20;
constexpr int kFastConnectMs = 3000;
constexpr uint32_t kMaxRandomBytes = 1u << 20;

bool ValidSessionFlags(uint32_t flags) {
    bool tls = (flags & Q_SESSION_TLS) != 0;
    bool clear = (flags & Q_SESSION_CLEAR) != 0;
    return (flags & ~kKnownSessionFlags) == 0 && tls != clear;
}

ConnectionOptions OptionsFor(const LoginPlan &plan, uint32_t flags) {
    ConnectionOptions options;
    options.address = plan.address.c_str();
    options.port = plan.port;
    options.tls = (flags & Q_SESSION_TLS) != 0;
    options.tcp.keepAlive = (flags & Q_SESSION_KEEPALIVE) != 0;
    if (flags & Q_SESSION_FAST_CONNECT) options.tcp.connectTimeoutMs = kFastConnectMs;
    options.mutualTls = plan.usesMutualTls ? &plan.mutualTls : nullptr;
    return options;
}

// Sends the login, which the connection wipes once serialised. Returns the transport status
// or the HSM's answer; *passwordChangeOnly tells a 5178 that still opened a restricted
// session.
[[nodiscard]] uint32_t Authenticate(Connection &connection, pb::Login &login,
                                    bool *passwordChangeOnly) {
    pb::Request request;
    *request.mutable_login() = std::move(login);
    pb::Response response;
    uint32_t status = connection.RoundTrip(request, &response);
    if (status == wire::OK) status = response.status();
    *passwordChangeOnly =
        status == wire::ERR_PASSWORD_EXPIRED && response.login().password_expired();
    return status;
}

[[nodiscard]] uint32_t OpenSession(QSessionHandle *out, uint32_t method, const void *record,
                                   uint32_t recordSize, uint32_t flags) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    if (out == nullptr || !ValidSessionFlags(flags)) return wire::ERR_INVALID_PARAMETER;
    LoginPlan plan;
    uint32_t status = PlanLogin(method, record, recordSize, flags, &plan);
    if (status == wire::OK && plan.usesMutualTls && (flags & Q_SESSION_TLS) == 0)
        status = wire::ERR_INVALID_PARAMETER;
    std::unique_ptr<Connection> connection;
    if (status == wire::OK) status = Connection::Open(OptionsFor(plan, flags), &connection);
    bool passwordChangeOnly = false;
    if (status == wire::OK) status = Authenticate(*connection, plan.login, &passwordChangeOnly);
    if (status != wire::OK && !passwordChangeOnly) return status;
    *out = LibraryState::Get().sessions.Add(std::make_shared<Session>(std::move(connection)));
    return status;
}

[[nodiscard]] uint32_t CloseSession(QSessionHandle *handle) {
    if (!LibraryState::Get().initialized()) return wire::ERR_NOT_INITIALIZED;
    if (handle == nullptr) return wire::ERR_INVALID_PARAMETER;
    std::shared_ptr<Session> session = LibraryState::Get().sessions.Remove(*handle);
    *handle = 0;
    if (session == nullptr) return wire::ERR_INVALID_HANDLE;
    session->Close();
    return wire::OK;
}

// Copies a text with its terminator into a caller buffer of *length bytes.
[[nodiscard]] uint32_t CopyText(const char *text, void *buffer, uint32_t *length) {
    if (buffer == nullptr || length == nullptr) return wire::ERR_INVALID_PARAMETER;
    size_t needed = std::strlen(text) + 1;
    if (*length < needed) {
        *length = static_cast<uint32_t>(needed);
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, text, needed);
    *length = static_cast<uint32_t>(needed);
    return wire::OK;
}

[[nodiscard]] uint32_t CopyWord(uint32_t word, void *buffer, uint32_t *length) {
    if (*length < sizeof word) {
        *length = sizeof word;
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, &word, sizeof word);
    *length = sizeof word;
    return wire::OK;
}

[[nodiscard]] uint32_t GetSessionParam(QSessionHandle handle, uint32_t param, void *buffer,
                                       uint32_t *length) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) return status;
    return session->WithConnection([&](Connection &connection) {
        switch (param) {
            case Q_SESSION_PARAM_PROTOCOL:
                return CopyWord(connection.protocol(), buffer, length);
            case Q_SESSION_PARAM_CIPHER:
                return CopyText(connection.cipher(), buffer, length);
            default:
                return static_cast<uint32_t>(wire::ERR_NOT_SUPPORTED);
        }
    });
}

[[nodiscard]] uint32_t GetRandom(QSessionHandle handle, void *buffer, uint32_t length) {
    if (buffer == nullptr || length == 0 || length > kMaxRandomBytes)
        return Refuse(handle, wire::ERR_INVALID_PARAMETER);
    pb::GetRandom request;
    request.set_length(length);
    return Remote<pb::GetRandomReply>(handle, std::move(request),
                                      [&](const pb::GetRandomReply &reply) -> uint32_t {
                                          if (reply.data().size() != length)
                                              return wire::ERR_PROTOCOL;
                                          std::memcpy(buffer, reply.data().data(), length);
                                          return wire::OK;
                                      });
}

}  // namespace
}  // namespace qelvoarc

using qelvoarc::Guarded;

extern "C" {

uint32_t QInitialize(uint32_t flags) {
    return Guarded([&] {
        return flags & ~Q_INIT_INTERACTIVE ? static_cast<uint32_t>(wire::ERR_INVALID_PARAMETER)
                                           : qelvoarc::LibraryState::Get().Initialize();
    });
}

uint32_t QFinalize(void) {
    return Guarded([] { return qelvoarc::LibraryState::Get().Finalize(); });
}

uint32_t QVersion(uint32_t, uint32_t *major, uint32_t *minor, uint32_t *build, uint32_t *revision) {
    uint32_t *parts[4] = {major, minor, build, revision};
    for (int i = 0; i < 4; ++i)
        if (parts[i] != nullptr) *parts[i] = qelvoarc::kVersion[i];
    return Q_OK;
}

uint32_t QOpenSession(QSessionHandle *session, uint32_t method, const void *record,
                      uint32_t recordSize, uint32_t flags) {
    return Guarded(
        [&] { return qelvoarc::OpenSession(session, method, record, recordSize, flags); });
}

uint32_t QCloseSession(QSessionHandle *session, uint32_t) {
    return Guarded([&] { return qelvoarc::CloseSession(session); });
}

uint32_t QGetSessionParam(QSessionHandle session, uint32_t param, void *buffer, uint32_t *length,
                          uint32_t) {
    return Guarded([&] { return qelvoarc::GetSessionParam(session, param, buffer, length); });
}

uint32_t QGetRandom(QSessionHandle session, void *buffer, uint32_t length) {
    return Guarded([&] { return qelvoarc::GetRandom(session, buffer, length); });
}

}  // extern "C"
