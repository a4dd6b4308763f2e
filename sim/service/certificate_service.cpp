#include "service/certificate_service.h"

#include "crypto/certificate_der.h"
#include "service/object_info.h"

namespace sim {

Result ImportCertificate(Call &call, const pb::ImportKey &request, pb::ObjectInfo *info) {
    if (request.algorithm() != pb::ALG_OBJ_X509_CERT) return Result::kBadAlgorithm;
    if (request.attributes() != 0) return Result::kInvalidParameter;
    std::optional<std::string> der = CertificateToDer(request.material());
    if (!der) return Result::kBadCertificate;
    StoredObject certificate;
    certificate.owner = call.session().user;
    certificate.name = request.name();
    certificate.kind = ObjectKind::kCertificate;
    certificate.algorithm = pb::ALG_OBJ_X509_CERT;
    // A certificate is public: it can always be read back.
    certificate.attributes = pb::KEY_EXPORTABLE;
    certificate.length = static_cast<uint32_t>(der->size());
    certificate.certificate = std::move(*der);
    if (Result r = call.hsm.keys.Insert(call.actor(), &certificate,
                                        "Certificate imported: " + certificate.name);
        r != Result::kOk)
        return r;
    DescribeObject(call.hsm.keys, certificate, info);
    return Result::kOk;
}

}  // namespace sim
