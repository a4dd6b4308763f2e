#pragma once
// Certificate objects of the caller's partition: public, held as DER, never sealed.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

// Stores the certificate of a KeyImport of blob type 9 (DER or PEM). REQUIRES: the name was
// checked. kBadCertificate when the material is not one well-formed certificate.
Result ImportCertificate(HsmContext &hsm, const ConnectionState &conn,
                         const wire::pb::KeyImport &request, wire::pb::Response *response);

}  // namespace sim
