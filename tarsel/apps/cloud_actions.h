#pragma once
// "HSM - Telemetry" and "HSM - Policies": the HSM's cloud binding and its security policy.

#include <cstdint>

#include "console/menu.h"
#include "qelvoarc.h"

// Unbound: asks a bind key and binds. Bound: shows the binding and offers to unbind.
int32_t TelemetryAction(QSessionHandle session, const MenuItem &item);
// Shows the two policy bits and offers to set both anew.
int32_t PoliciesAction(QSessionHandle session, const MenuItem &item);

// Reads the bind status (HSM information attribute 24) into *bound; a failure is reported
// as "Error retrieving bind status." and its code returned.
uint32_t ReadBindStatus(QSessionHandle session, uint64_t *bound);
