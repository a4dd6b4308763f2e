#include "service/information_service.h"

#include "policy/device_identity.h"

namespace sim {

namespace {
constexpr uint32_t kInfoVersionText = 8;
constexpr uint32_t kInfoHsmMode = 64;
}  // namespace

Result HandleGetHsmInfo(HsmContext &hsm, const wire::pb::GetHsmInfo &request,
                        wire::pb::Response *response) {
    response->set_flags(request.flags());
    switch (request.kind()) {
        case kInfoVersionText:
            response->set_data(VersionText(hsm.identity));
            return Result::kOk;
        case kInfoHsmMode: {
            uint32_t mode = hsm.identity.hsmMode;
            const char bytes[4] = {static_cast<char>(mode), static_cast<char>(mode >> 8),
                                   static_cast<char>(mode >> 16), static_cast<char>(mode >> 24)};
            response->set_data(bytes, sizeof bytes);
            return Result::kOk;
        }
        default:
            return Result::kNotSupported;
    }
}

Result HandleAdmOperation(const wire::pb::AdmOperation &request) {
    return request.operation() == kAdmLiveness ? Result::kOk : Result::kNotSupported;
}

}  // namespace sim
