#pragma once
// One request to the HSM and its reply. Every served function sends through Remote, so the
// handle look-up, the status of the answer and the wiping of secrets live in one place and a
// function keeps only its own checks and the translation of its C records.

#include <google/protobuf/descriptor.h>

#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "connection.h"
#include "library_state.h"
#include "qelvoarc.h"
#include "secret_fields.h"
#include "session.h"

namespace qelvoarc {

namespace remote {

// Where a request travels in pb::Request.body and where its reply comes back in
// pb::Response.body.
struct Body {
    const google::protobuf::FieldDescriptor *request = nullptr;
    const google::protobuf::FieldDescriptor *reply = nullptr;
};

// Both fields null when `reply` is not the reply of `request`.
Body BodyOf(const google::protobuf::Descriptor &request, const google::protobuf::Descriptor &reply);

template <class Request, class Reply>
const Body &BodyOf() {
    static const Body body = BodyOf(*Request::descriptor(), *Reply::descriptor());
    return body;
}

// A request message passed as an rvalue: Remote takes its contents over, so no copy of a
// secret stays with the caller.
template <class Request>
concept HandedOver = std::is_base_of_v<google::protobuf::Message, Request>;

// A reply read for its status only.
struct StatusOnly {
    void operator()(const google::protobuf::Message &) const {}
};

// copyOut's status: its own, or OK when it returns nothing.
template <class CopyOut, class Reply>
[[nodiscard]] uint32_t CopyOutStatus(CopyOut &copyOut, const Reply &reply) {
    if constexpr (std::is_void_v<std::invoke_result_t<CopyOut &, const Reply &>>) {
        copyOut(reply);
        return wire::OK;
    } else {
        return copyOut(reply);
    }
}

}  // namespace remote

// Sends `request` on `session` and, when the HSM answered OK, hands the reply to `copyOut`
// (returning a status or nothing). Returns the transport's status, else the HSM's, else
// copyOut's; ERR_INVALID_HANDLE once the session is closed. copyOut runs under the session's
// lock, so it must not call the library: results meant for callbacks are collected and
// delivered afterwards. Every secret field of the request and of the reply, and every frame
// that carried one, is wiped before this returns, whatever the outcome.
template <class Reply, remote::HandedOver Request, class CopyOut = remote::StatusOnly>
[[nodiscard]] uint32_t Remote(Session &session, Request &&request, CopyOut &&copyOut = CopyOut()) {
    const remote::Body &body = remote::BodyOf<Request, Reply>();
    uint32_t status = wire::ERR_INTERNAL;
    if (body.request != nullptr) {
        status = session.Exchange(
            [&](Connection &connection, pb::Request &sent, pb::Response &answer) -> uint32_t {
                static_cast<Request *>(sent.GetReflection()->MutableMessage(&sent, body.request))
                    ->Swap(&request);
                uint32_t result = connection.RoundTrip(sent, &answer);
                if (result == wire::OK) result = answer.status();
                // An empty reply may come without its body.
                const auto replied = static_cast<int>(answer.body_case());
                if (result == wire::OK && replied != body.reply->number() &&
                    replied != pb::Response::BODY_NOT_SET)
                    result = wire::ERR_PROTOCOL;
                if (result == wire::OK)
                    result = remote::CopyOutStatus(
                        copyOut, static_cast<const Reply &>(
                                     answer.GetReflection()->GetMessage(answer, body.reply)));
                // Whether it held secrets is of no further use: the frame it came in is always
                // wiped on arrival.
                (void)wire::WipeSecretFields(answer);
                return result;
            });
    }
    // What was never sent (closed session) still holds its secrets here.
    (void)wire::WipeSecretFields(request);
    return status;
}

// As above on the session of `handle`: the look-up's status when it names none.
template <class Reply, remote::HandedOver Request, class CopyOut = remote::StatusOnly>
[[nodiscard]] uint32_t Remote(QSessionHandle handle, Request &&request,
                              CopyOut &&copyOut = CopyOut()) {
    uint32_t status;
    std::shared_ptr<Session> session = FindSession(handle, &status);
    if (session == nullptr) {
        (void)wire::WipeSecretFields(request);  // never sent, wiped all the same
        return status;
    }
    return Remote<Reply>(*session, std::move(request), std::forward<CopyOut>(copyOut));
}

// The status of a call on `handle` that its arguments stop before anything is sent: the
// handle's own failure comes first, as it does for calls that go out.
[[nodiscard]] uint32_t Refuse(QSessionHandle handle, uint32_t status);

}  // namespace qelvoarc
