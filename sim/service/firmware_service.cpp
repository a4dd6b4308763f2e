#include "service/firmware_service.h"

namespace sim {

namespace {

Result HandlePushUpdatePackage(Call &call, const pb::PushUpdatePackage &request,
                               pb::PushUpdatePackageReply *) {
    return call.hsm.firmware.Push(call.actor(), request.package());
}

}  // namespace

void RegisterFirmwareService(DispatchTable &table) {
    table.Add<&pb::Request::push_update_package, &pb::Response::mutable_push_update_package>(
        HandlePushUpdatePackage, Needs::Acl(pb::ACL_FIRMWARE), kNormalSessions);
}

}  // namespace sim
