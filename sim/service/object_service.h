#pragma once
// Objects of the caller's partition: opening by name, listing, removal, map objects,
// PKCS#11 maps and metadata. Every handler acts only inside the session user's partition.

#include "core/result.h"
#include "orvena.pb.h"
#include "service/hsm_context.h"

namespace sim {

// Object type identifiers of the objects that are not keys (key parameter 1).
inline constexpr uint32_t kMapObjectType = 194;
inline constexpr uint32_t kPkcs11MapObjectType = 195;
inline constexpr uint32_t kCertificateObjectType = 196;

Result HandleObjectOpen(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::ObjectOpen &request, wire::pb::Response *response);
Result HandleObjectRemove(HsmContext &hsm, const ConnectionState &conn,
                          const wire::pb::ObjectRemove &request);
Result HandleObjectList(HsmContext &hsm, const ConnectionState &conn,
                        const wire::pb::ObjectList &request, wire::pb::Response *response);
Result HandleMapCreate(HsmContext &hsm, const ConnectionState &conn,
                       const wire::pb::MapCreate &request);
Result HandlePkcs11MapCreate(HsmContext &hsm, const ConnectionState &conn,
                             const wire::pb::Pkcs11MapCreate &request);
Result HandleMetadataWrite(HsmContext &hsm, const ConnectionState &conn,
                           const wire::pb::MetadataWrite &request);

}  // namespace sim
