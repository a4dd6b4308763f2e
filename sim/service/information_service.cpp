#include "service/information_service.h"

#include "policy/device_identity.h"

namespace sim {

namespace {

// Touches no database and logs nothing: it is sent before every menu action.
Result HandleLiveness(Call &, const pb::Liveness &, pb::LivenessReply *) {
    return Result::kOk;
}

Result HandleGetVersionText(Call &call, const pb::GetVersionText &,
                            pb::GetVersionTextReply *reply) {
    reply->set_text(VersionText(call.hsm.identity));
    return Result::kOk;
}

Result HandleGetHsmMode(Call &call, const pb::GetHsmMode &, pb::GetHsmModeReply *reply) {
    reply->set_mode(call.hsm.identity.hsmMode);
    return Result::kOk;
}

}  // namespace

void RegisterInformationService(DispatchTable &table) {
    constexpr uint32_t kInformed = kNormalSessions | kAnonymousSessions | kAfterRestore;
    table.Add<&pb::Request::liveness, &pb::Response::mutable_liveness>(
        HandleLiveness, Needs::Nothing(), kEverySession | kAfterRestore);
    table.Add<&pb::Request::get_version_text, &pb::Response::mutable_get_version_text>(
        HandleGetVersionText, Needs::Nothing(), kInformed);
    table.Add<&pb::Request::get_hsm_mode, &pb::Response::mutable_get_hsm_mode>(
        HandleGetHsmMode, Needs::Nothing(), kInformed);
}

}  // namespace sim
