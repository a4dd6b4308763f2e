#pragma once
// The HSM-wide password policy as administrative operations: read (32) and define (25).

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

inline constexpr uint32_t kAdmSetPasswordPolicy = 25;
inline constexpr uint32_t kAdmGetPasswordPolicy = 32;
// Bytes of the policy record: invalid logins, expiry days, reserved, minimal length,
// special, uppercase and lowercase characters.
inline constexpr size_t kPasswordPolicyBytes = 7;

inline bool IsPasswordPolicyOperation(uint32_t operation) {
    return operation == kAdmSetPasswordPolicy || operation == kAdmGetPasswordPolicy;
}

// Reading is open to every user; defining needs an operator. The read answers the record in
// response->data. REQUIRES: conn.session is set.
Result HandlePasswordPolicyOperation(HsmContext &hsm, const ConnectionState &conn,
                                     const wire::pb::AdmOperation &request,
                                     wire::pb::Response *response);

}  // namespace sim
