#pragma once
// What a PKCS#11 client sees through a map of the caller's partition: the attributes are
// derived from the map's target when they are read, so they follow the target.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

// kNotFound when the map or its target is missing, kWrongObjectType when the name is not a
// PKCS#11 map.
Result HandlePkcs11MapDetailsRead(HsmContext &hsm, const ConnectionState &conn,
                                  const wire::pb::Pkcs11MapDetailsRead &request,
                                  wire::pb::Response *response);

}  // namespace sim
