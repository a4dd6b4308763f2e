#include "service/oath_service.h"

#include "core/secret.h"
#include "crypto/otp_verifier.h"
#include "service/target_account.h"

namespace sim {

namespace {

// Runs `check` with the user's opened seed and stores the counter it returns; logs
// "<what> of <user>".
template <class Check>
Result UseToken(Call &call, const std::string &user, const char *what, Check &&check) {
    HsmContext &hsm = call.hsm;
    return hsm.users.UseOathToken(
        call.actor(), user,
        [&](const OathState &state, const std::string &sealed) -> std::optional<uint64_t> {
            std::optional<SecretBytes> seed = hsm.masterKey.Open(sealed);
            if (!seed) return std::nullopt;
            return check(state, seed->view());
        },
        std::string(what) + " of " + user);
}

Result HandleAssignOathToken(Call &call, const pb::AssignOathToken &request,
                             pb::AssignOathTokenReply *) {
    UserRecord target;
    if (Result r = FindAdministrable(call, request.user(), false, &target); r != Result::kOk)
        return r;
    if (request.seed().empty() || request.seed().size() > kMaxOathSeedBytes)
        return Result::kInvalidParameter;
    OathState state;
    if (request.token_type() == pb::OATH_EVENT) {
        state.kind = OathKind::kEvent;
    } else if (request.token_type() == pb::OATH_TIME) {
        if (request.time_step() == 0 || request.time_step() > 0xFFFF ||
            request.initial_time() > static_cast<uint64_t>(INT64_MAX))
            return Result::kInvalidParameter;
        state.kind = OathKind::kTime;
        state.step = request.time_step();
        state.startTime = static_cast<int64_t>(request.initial_time());
    } else {
        return Result::kInvalidParameter;
    }
    HsmContext &hsm = call.hsm;
    if (Result r = hsm.users.SetOathToken(call.actor(), target.id, state,
                                          hsm.masterKey.Seal(request.seed()));
        r != Result::kOk)
        return r;
    return hsm.users.ChangeAclFlags(call.actor(), target.id, pb::ACL_OATH_2FA, 0);
}

Result HandleUnassignOathToken(Call &call, const pb::UnassignOathToken &request,
                               pb::UnassignOathTokenReply *) {
    UserRecord target;
    if (Result r = FindAdministrable(call, request.user(), false, &target); r != Result::kOk)
        return r;
    return call.hsm.users.RemoveOathToken(call.actor(), target.id);
}

Result HandleOathResync(Call &call, const pb::OathResync &request, pb::OathResyncReply *) {
    UserRecord target;
    if (Result r = FindAdministrable(call, request.user(), true, &target); r != Result::kOk)
        return r;
    if (request.first_otp().empty() || request.next_otp().empty()) return Result::kOtpInvalid;
    int64_t now = call.hsm.clock.Now();
    return UseToken(call, target.id, "OATH token resynchronised",
                    [&](const OathState &state, const std::string &seed) {
                        return ResyncOtp(state, seed, request.first_otp(), request.next_otp(), now);
                    });
}

Result HandleOathCheck(Call &call, const pb::OathCheck &request, pb::OathCheckReply *) {
    UserRecord target;
    if (Result r = FindAdministrable(call, request.user(), true, &target); r != Result::kOk)
        return r;
    if (request.otp().empty()) return Result::kOtpInvalid;
    int64_t now = call.hsm.clock.Now();
    return UseToken(call, target.id, "OTP checked",
                    [&](const OathState &state, const std::string &seed) {
                        return VerifyOtp(state, seed, request.otp(), now);
                    });
}

}  // namespace

void RegisterOathService(DispatchTable &table) {
    table.Add<&pb::Request::assign_oath_token, &pb::Response::mutable_assign_oath_token>(
        HandleAssignOathToken, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::unassign_oath_token, &pb::Response::mutable_unassign_oath_token>(
        HandleUnassignOathToken, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::oath_resync, &pb::Response::mutable_oath_resync>(
        HandleOathResync, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::oath_check, &pb::Response::mutable_oath_check>(
        HandleOathCheck, Needs::Account(), kNormalSessions);
}

}  // namespace sim
