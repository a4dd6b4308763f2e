#include "service/eftd_config_service.h"

namespace sim {

namespace {

Result HandleGetEftdConfig(Call &call, const pb::GetEftdConfig &, pb::GetEftdConfigReply *reply) {
    const EftdConfig config = call.hsm.eftd.Load();
    pb::EftdConfig *out = reply->mutable_config();
    out->set_header_length(config.headerLength);
    out->set_pin_length(config.pinLength);
    out->set_authorized(config.authorized);
    return Result::kOk;
}

// The partition's keys answer host commands, so only its own user may let them; an operator
// may not do it on its behalf.
Result HandleSetEftdAuthorized(Call &call, const pb::SetEftdAuthorized &request,
                               pb::SetEftdAuthorizedReply *) {
    if (call.session().user != kEftdPartition) {
        call.hsm.events.Record(call.actor(),
                               request.authorized() ? "EFTd host commands authorized"
                                                    : "EFTd host commands deauthorized",
                               wire::StatusText(ToWireStatus(Result::kNotEftdPartition)));
        return Result::kNotEftdPartition;
    }
    call.hsm.eftd.SetAuthorized(call.actor(), request.authorized());
    return Result::kOk;
}

bool InRange(uint32_t value, uint32_t min, uint32_t max) {
    return value >= min && value <= max;
}

Result HandleSetEftdHeaderLength(Call &call, const pb::SetEftdHeaderLength &request,
                                 pb::SetEftdHeaderLengthReply *) {
    if (!InRange(request.length(), kMinEftdHeaderLength, kMaxEftdHeaderLength))
        return Result::kInvalidParameter;
    call.hsm.eftd.SetHeaderLength(call.actor(), static_cast<uint8_t>(request.length()));
    return Result::kOk;
}

Result HandleSetEftdPinLength(Call &call, const pb::SetEftdPinLength &request,
                              pb::SetEftdPinLengthReply *) {
    if (!InRange(request.length(), kMinEftdPinLength, kMaxEftdPinLength))
        return Result::kInvalidParameter;
    call.hsm.eftd.SetPinLength(call.actor(), static_cast<uint8_t>(request.length()));
    return Result::kOk;
}

Result HandleResetEftdConfig(Call &call, const pb::ResetEftdConfig &, pb::ResetEftdConfigReply *) {
    call.hsm.eftd.Reset(call.actor());
    return Result::kOk;
}

}  // namespace

void RegisterEftdConfigService(DispatchTable &table) {
    table.Add<&pb::Request::get_eftd_config, &pb::Response::mutable_get_eftd_config>(
        HandleGetEftdConfig, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::set_eftd_authorized, &pb::Response::mutable_set_eftd_authorized>(
        HandleSetEftdAuthorized, Needs::Account(), kNormalSessions);
    table.Add<&pb::Request::set_eftd_header_length, &pb::Response::mutable_set_eftd_header_length>(
        HandleSetEftdHeaderLength, Needs::Operator(), kNormalSessions);
    table.Add<&pb::Request::set_eftd_pin_length, &pb::Response::mutable_set_eftd_pin_length>(
        HandleSetEftdPinLength, Needs::Operator(), kNormalSessions);
    table.Add<&pb::Request::reset_eftd_config, &pb::Response::mutable_reset_eftd_config>(
        HandleResetEftdConfig, Needs::Operator(), kNormalSessions);
}

}  // namespace sim
