#pragma once
// The requests the simulator serves: for each, its typed handler and the rule the policy step
// (server/request_policy.h) applies before the handler runs. Each service file registers its
// own requests; nothing else routes by request kind.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <type_traits>

#include "core/result.h"
#include "envelope.pb.h"
#include "service/hsm_context.h"
#include "store/actor.h"
#include "store/user_store.h"

namespace sim {

namespace pb = ::wire::pb;

// What one handler works with.
struct Call {
    HsmContext &hsm;
    ConnectionState &conn;
    // The session user's account, read for this very request so that a changed right takes
    // effect at once. Set whenever the request's Needs is anything but Nothing.
    std::optional<UserRecord> caller;

    // REQUIRES: a session (every request but Login).
    Session &session() const { return *conn.session; }
    // Who the changes a request makes are logged as: its session's user. REQUIRES: a session.
    Actor actor() const { return Actor::User(session().user); }
};

// The right a request's caller must hold, whatever the request names. Rules that depend on
// the account a request acts on (MayAdminister and the like) stay in the handlers.
struct Needs {
    enum class Kind { kNothing, kAccount, kAcl, kOperator };
    Kind kind = Kind::kNothing;
    uint32_t bits = 0;

    // No account is read: requests that act only on the session itself or its partition.
    static constexpr Needs Nothing() { return {}; }
    // The account must still exist; the handler decides the rest.
    static constexpr Needs Account() { return {Kind::kAccount, 0}; }
    // Every bit of `bits` (pb::AclBit); an operator holds them all.
    static constexpr Needs Acl(uint32_t bits) { return {Kind::kAcl, bits}; }
    static constexpr Needs Operator() { return {Kind::kOperator, 0}; }
};

// The sessions a request is served in, as a bit set.
enum SessionKindBit : uint32_t {
    kBeforeLogin = 1u << 0,  // only on a connection without a session (Login)
    kUserSessions = 1u << 1,
    kPasswordChangeSessions = 1u << 2,
    kAnonymousSessions = 1u << 3,
    // Also served once a restore has left the HSM needing a restart; all else is refused.
    kAfterRestore = 1u << 4,
};
inline constexpr uint32_t kNormalSessions = kUserSessions;
inline constexpr uint32_t kEverySession =
    kUserSessions | kPasswordChangeSessions | kAnonymousSessions;

struct Rule {
    Needs needs;
    uint32_t sessions = kNormalSessions;  // SessionKindBit set
    // The pb::MofNPermission the caller's partition must be granted when it is under M of N;
    // 0 for requests M of N does not restrict.
    uint32_t mofnPermission = 0;
};

class DispatchTable {
  public:
    using Run = std::function<Result(Call &, const pb::Request &, pb::Response *)>;
    struct Entry {
        Rule rule;
        Run run;  // handles the request's body and fills the reply body of the same number
    };

    // Registers the request of Request.body field `Get`, answered in Response.body field
    // `Mutable`; one line per request:
    //   table.Add<&pb::Request::x, &pb::Response::mutable_x>(HandleX, Needs::..., kNormalSessions);
    template <auto Get, auto Mutable, class Req, class Rep>
    void Add(Result (*handler)(Call &, const Req &, Rep *), Needs needs, uint32_t sessions,
             uint32_t mofnPermission = 0) {
        static_assert(std::is_same_v<decltype(Get), const Req &(pb::Request::*)() const>,
                      "the getter must return the handler's request type");
        static_assert(std::is_same_v<decltype(Mutable), Rep *(pb::Response::*)()>,
                      "the mutable accessor must return the handler's reply type");
        Add(BodyNumber(*Req::descriptor(), *Rep::descriptor()),
            Rule{needs, sessions, mofnPermission},
            [handler](Call &call, const pb::Request &request, pb::Response *response) {
                return handler(call, (request.*Get)(), (response->*Mutable)());
            });
    }

    // Registers a request by its body field number. Throws std::logic_error when the
    // number is taken.
    void Add(int bodyNumber, Rule rule, Run run);

    // The entry of a request body, or null when nothing serves it.
    const Entry *Find(int bodyNumber) const;
    const std::map<int, Entry> &entries() const { return entries_; }

  private:
    // The number of the Request.body field of type `request`. Throws std::logic_error
    // unless exactly one field has it and the Response.body field of that number is `reply`.
    static int BodyNumber(const google::protobuf::Descriptor &request,
                          const google::protobuf::Descriptor &reply);

    std::map<int, Entry> entries_;
};

}  // namespace sim
