#pragma once
// Export of an object of the caller's partition: the clear bytes of an exportable, unblocked
// symmetric key, or a certificate as DER.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

// Answers the bytes in response->data (wiped once sent). kWrongObjectType for a pairing of
// object and blob type other than the two served, kNotExportable, kKeyBlocked.
Result HandleKeyExport(HsmContext &hsm, const ConnectionState &conn,
                       const wire::pb::KeyExport &request, wire::pb::Response *response);

}  // namespace sim
