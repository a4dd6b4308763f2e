#include "service/security_policy.h"

namespace sim {

bool AuthorizedStateOnline(HsmContext &hsm) {
    return (hsm.cloud.SecurityPolicy() & kPolicyAuthorizedStateOnline) != 0;
}

}  // namespace sim
