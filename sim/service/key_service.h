#pragma once
// Keys of the caller's partition: generation, clear import (certificates too), component
// import, check values and blocking.
// Every handler acts only inside the session user's own partition.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

Result HandleKeyGenerate(HsmContext &hsm, const ConnectionState &conn,
                         const wire::pb::KeyGenerate &request, wire::pb::Response *response);
Result HandleKeyImport(HsmContext &hsm, const ConnectionState &conn,
                       const wire::pb::KeyImport &request, wire::pb::Response *response);
Result HandleKeyCheckValue(HsmContext &hsm, const ConnectionState &conn,
                           const wire::pb::KeyCheckValue &request, wire::pb::Response *response);
// Blocks or unblocks a key (the only key parameter that changes); answers the new description.
Result HandleKeySetParam(HsmContext &hsm, const ConnectionState &conn,
                         const wire::pb::KeySetParam &request, wire::pb::Response *response);
Result HandleEftImportKey(HsmContext &hsm, const ConnectionState &conn,
                          const wire::pb::EftImportKey &request, wire::pb::Response *response);

}  // namespace sim
