#pragma once
// Certificate objects of the caller's partition: public, held as DER, never sealed.

#include "service/dispatch_table.h"

namespace sim {

// Stores the certificate of an ImportKey of blob type BLOB_X509_CERT (DER or PEM) and
// describes it in *info. REQUIRES: the name was checked. kBadCertificate when the material is
// not one well-formed certificate.
Result ImportCertificate(Call &call, const pb::ImportKey &request, pb::ObjectInfo *info);

}  // namespace sim
