#include "service/certificate_service.h"

#include "crypto/certificate_der.h"
#include "service/object_info.h"
#include "service/object_service.h"

namespace sim {

Result ImportCertificate(HsmContext &hsm, const ConnectionState &conn,
                         const wire::pb::KeyImport &request, wire::pb::Response *response) {
    if (request.algorithm() != kCertificateObjectType) return Result::kBadAlgorithm;
    if (request.attributes() != 0) return Result::kInvalidParameter;
    std::optional<std::string> der = CertificateToDer(request.material());
    if (!der) return Result::kBadCertificate;
    StoredObject certificate;
    certificate.owner = conn.session->user;
    certificate.name = request.name();
    certificate.kind = ObjectKind::kCertificate;
    certificate.algorithm = kCertificateObjectType;
    // A certificate is public: it can always be read back.
    certificate.attributes = kAttributeExportable;
    certificate.length = static_cast<uint32_t>(der->size());
    certificate.certificate = std::move(*der);
    if (Result r = hsm.keys.Insert(&certificate, "Certificate imported: " + certificate.name);
        r != Result::kOk)
        return r;
    DescribeObject(hsm.keys, certificate, response->mutable_object());
    return Result::kOk;
}

}  // namespace sim
