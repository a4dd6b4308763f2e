#pragma once
// Turning a login record of QOpenSession into connection options and a Login message.

#include <cstdint>
#include <string>

#include "connection.h"
#include "envelope.pb.h"
#include "secret_fields.h"

namespace qelvoarc {

struct LoginPlan {
    LoginPlan() = default;
    LoginPlan(const LoginPlan &) = delete;
    LoginPlan &operator=(const LoginPlan &) = delete;
    // Whatever secrets the login message still holds (it is handed over when sent).
    ~LoginPlan() { (void)wire::WipeSecretFields(login); }

    std::string address;
    uint32_t port = 0;
    MutualTlsMaterial mutualTls;  // filled only when usesMutualTls
    bool usesMutualTls = false;
    pb::Login login;
};

// Checks the record against its method and fills the plan. The plan's views point into the
// caller's record, which must outlive the login. Returns OK, ERR_INVALID_PARAMETER for a
// malformed record, ERR_PLATFORM for the credential manager, ERR_NOT_SUPPORTED for an
// unknown method.
[[nodiscard]] uint32_t PlanLogin(uint32_t method, const void *record, uint32_t recordSize,
                                 uint32_t sessionFlags, LoginPlan *plan);

}  // namespace qelvoarc
