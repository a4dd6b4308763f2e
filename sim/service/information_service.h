#pragma once
// Information about the HSM and the liveness check.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

inline constexpr uint32_t kAdmLiveness = 4;

Result HandleGetHsmInfo(HsmContext &hsm, const wire::pb::GetHsmInfo &request,
                        wire::pb::Response *response);

// Touches no database and logs nothing: it is sent before every menu action.
Result HandleAdmOperation(const wire::pb::AdmOperation &request);

}  // namespace sim
