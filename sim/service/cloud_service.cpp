#include "service/cloud_service.h"

#include "crypto/bind_key.h"
#include "service/logged_outcome.h"
#include "service/security_policy.h"

namespace sim {

namespace {

Result BindHsm(Call &call, const pb::BindHsm &request) {
    if (request.bind_key().size() > kMaxBindKeyBytes) return Result::kInvalidLength;
    CloudBinding binding;
    if (Result r =
            ReadBindKey(request.bind_key(), call.hsm.hardware.dataDir + "/cloud.crt", &binding);
        r != Result::kOk)
        return r;
    if (binding.hsmId != call.hsm.identity.serial) return Result::kBindKeyForeign;
    return call.hsm.cloud.Bind(call.actor(), binding) ? Result::kOk : Result::kAlreadyBound;
}

Result HandleBindHsm(Call &call, const pb::BindHsm &request, pb::BindHsmReply *) {
    return Logged(call, "HSM bind", BindHsm(call, request), true);
}

Result HandleUnbindHsm(Call &call, const pb::UnbindHsm &, pb::UnbindHsmReply *) {
    return Logged(call, "HSM unbind",
                  call.hsm.cloud.Unbind(call.actor()) ? Result::kOk : Result::kNotBound, true);
}

Result HandleGetSecurityPolicy(Call &call, const pb::GetSecurityPolicy &,
                               pb::GetSecurityPolicyReply *reply) {
    reply->set_policy(call.hsm.cloud.SecurityPolicy());
    return Result::kOk;
}

Result HandleSetSecurityPolicy(Call &call, const pb::SetSecurityPolicy &request,
                               pb::SetSecurityPolicyReply *) {
    if ((request.policy() & ~kPolicyKnownBits) != 0) return Result::kInvalidParameter;
    call.hsm.cloud.SetSecurityPolicy(call.actor(), request.policy());
    return Result::kOk;
}

}  // namespace

void RegisterCloudService(DispatchTable &table) {
    table.Add<&pb::Request::bind_hsm, &pb::Response::mutable_bind_hsm>(
        HandleBindHsm, Needs::Operator(), kNormalSessions);
    table.Add<&pb::Request::unbind_hsm, &pb::Response::mutable_unbind_hsm>(
        HandleUnbindHsm, Needs::Operator(), kNormalSessions);
    table.Add<&pb::Request::get_security_policy, &pb::Response::mutable_get_security_policy>(
        HandleGetSecurityPolicy, Needs::Operator(), kNormalSessions);
    table.Add<&pb::Request::set_security_policy, &pb::Response::mutable_set_security_policy>(
        HandleSetSecurityPolicy, Needs::Operator(), kNormalSessions);
}

}  // namespace sim
