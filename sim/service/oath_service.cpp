#include "service/oath_service.h"

#include "core/secret.h"
#include "core/user_rights.h"
#include "crypto/otp_verifier.h"
#include "service/caller.h"

namespace sim {

namespace {

// The target account when the caller may administer it; `selfAllowed` lets a user act on
// its own token too.
Result FindTarget(HsmContext &hsm, const ConnectionState &conn, const std::string &user,
                  bool selfAllowed, std::optional<UserRecord> *target) {
    std::optional<UserRecord> caller = FindCaller(hsm, conn);
    if (!caller) return Result::kAccessDenied;
    *target = hsm.users.FindUser(user);
    if (!*target)
        return rights::MayInspect(caller->acl) ? Result::kNotFound : Result::kAccessDenied;
    if (selfAllowed && (*target)->id == caller->id) return Result::kOk;
    return rights::MayAdminister(caller->acl, (*target)->acl) ? Result::kOk : Result::kAccessDenied;
}

// Runs `check` with the user's opened seed, stores the counter it returns and logs `event`.
template <class Check>
Result UseToken(HsmContext &hsm, const std::string &user, const char *event, Check &&check) {
    return hsm.users.UseOathToken(
        user,
        [&](const OathState &state, const std::string &sealed) -> std::optional<uint64_t> {
            std::optional<SecretBytes> seed = hsm.masterKey.Open(sealed);
            if (!seed) return std::nullopt;
            return check(state, seed->view());
        },
        event);
}

}  // namespace

Result HandleAssignOathToken(HsmContext &hsm, const ConnectionState &conn,
                             const wire::pb::AssignOathToken &request) {
    std::optional<UserRecord> target;
    if (Result r = FindTarget(hsm, conn, request.user(), false, &target); r != Result::kOk)
        return r;
    if (request.seed().empty() || request.seed().size() > kMaxOathSeedBytes)
        return Result::kInvalidParameter;
    OathState state;
    if (request.token_type() == kTokenOathEvent) {
        state.kind = OathKind::kEvent;
    } else if (request.token_type() == kTokenOathTime) {
        if (request.time_step() == 0 || request.time_step() > 0xFFFF ||
            request.initial_time() > static_cast<uint64_t>(INT64_MAX))
            return Result::kInvalidParameter;
        state.kind = OathKind::kTime;
        state.step = request.time_step();
        state.startTime = static_cast<int64_t>(request.initial_time());
    } else {
        return Result::kInvalidParameter;
    }
    if (Result r = hsm.users.SetOathToken(target->id, state, hsm.masterKey.Seal(request.seed()));
        r != Result::kOk)
        return r;
    return hsm.users.ChangeAclFlags(target->id, acl::kOathSecondFactor, 0);
}

Result HandleUnassignOathToken(HsmContext &hsm, const ConnectionState &conn,
                               const wire::pb::UnassignOathToken &request) {
    std::optional<UserRecord> target;
    if (Result r = FindTarget(hsm, conn, request.user(), false, &target); r != Result::kOk)
        return r;
    return hsm.users.RemoveOathToken(target->id);
}

Result HandleOathResync(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::OathResync &request) {
    std::optional<UserRecord> target;
    if (Result r = FindTarget(hsm, conn, request.user(), true, &target); r != Result::kOk) return r;
    if (request.first_otp().empty() || request.next_otp().empty()) return Result::kOtpInvalid;
    int64_t now = hsm.clock.Now();
    return UseToken(hsm, target->id, "OATH token resynchronised",
                    [&](const OathState &state, const std::string &seed) {
                        return ResyncOtp(state, seed, request.first_otp(), request.next_otp(), now);
                    });
}

Result HandleOathCheck(HsmContext &hsm, const ConnectionState &conn,
                       const wire::pb::OathCheck &request) {
    std::optional<UserRecord> target;
    if (Result r = FindTarget(hsm, conn, request.user(), true, &target); r != Result::kOk) return r;
    if (request.otp().empty()) return Result::kOtpInvalid;
    int64_t now = hsm.clock.Now();
    return UseToken(hsm, target->id, "OTP checked",
                    [&](const OathState &state, const std::string &seed) {
                        return VerifyOtp(state, seed, request.otp(), now);
                    });
}

}  // namespace sim
