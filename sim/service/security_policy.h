#pragma once
// The HSM's security policy word, as the handlers that it binds read it.

#include <cstdint>

#include "service/hsm_context.h"

namespace sim {

// Kept and reported only: the HSM has no HTTPS management interface for it to bind.
inline constexpr uint32_t kPolicyTfaHttpsCertificate = 0x1;
// M of N authorization operations 3 and 4 may arrive over the network.
inline constexpr uint32_t kPolicyAuthorizedStateOnline = 0x2;
inline constexpr uint32_t kPolicyKnownBits =
    kPolicyTfaHttpsCertificate | kPolicyAuthorizedStateOnline;

// True while the policy lets a session set the authorized state of M of N online; a handler
// that it refuses answers Result::kAuthorizedStateOffline.
bool AuthorizedStateOnline(HsmContext &hsm);

}  // namespace sim
