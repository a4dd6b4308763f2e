// The certificate lines of the key information screen: the HSM gives the certificate back
// as DER and the library reads its fields locally.
#include <algorithm>
#include <string>
#include <vector>

#include "console/prompts.h"
#include "device/library_handles.h"
#include "keys/key_info_sections.h"
#include "keys/key_info_text.h"

namespace {

// A text field of the certificate; a name longer than the first guess is read again at the
// size the library asks for.
uint32_t ReadCertificateText(const uint8_t *der, uint32_t derLength, uint32_t field,
                             std::string *text) {
    std::vector<char> buffer(1024);
    uint32_t length = static_cast<uint32_t>(buffer.size());
    uint32_t status = QCert2CertInfo(der, derLength, field, buffer.data(), &length, 0);
    if (status == Q_ERR_BUFFER_TOO_SMALL && length > buffer.size()) {
        buffer.resize(length);
        status = QCert2CertInfo(der, derLength, field, buffer.data(), &length, 0);
    }
    if (status == 0) *text = FieldText(buffer.data(), std::min<size_t>(length, buffer.size()));
    return status;
}

uint32_t ReadCertificateDate(const uint8_t *der, uint32_t derLength, uint32_t field,
                             std::string *text) {
    uint64_t seconds = 0;
    uint32_t length = sizeof seconds;
    const uint32_t status = QCert2CertInfo(der, derLength, field, &seconds, &length, 0);
    if (status == 0) *text = CertificateDate(seconds);
    return status;
}

}  // namespace

uint32_t ShowCertificateSection(QKeyHandle certificate) {
    LibraryMemory<uint8_t> der;
    uint32_t derLength = 0;
    std::string subject, issuer, serial, notBefore, notAfter;
    uint32_t status = QExportKey(certificate, 0, Q_BLOB_X509_CERT, der.Out(), &derLength, 0);
    if (status == 0)
        status = ReadCertificateText(der.Get(), derLength, Q_CERT_INFO_SUBJECT, &subject);
    if (status == 0)
        status = ReadCertificateText(der.Get(), derLength, Q_CERT_INFO_ISSUER, &issuer);
    if (status == 0)
        status = ReadCertificateText(der.Get(), derLength, Q_CERT_INFO_SERIAL, &serial);
    if (status == 0)
        status = ReadCertificateDate(der.Get(), derLength, Q_CERT_INFO_NOT_BEFORE, &notBefore);
    if (status == 0)
        status = ReadCertificateDate(der.Get(), derLength, Q_CERT_INFO_NOT_AFTER, &notAfter);
    if (status != 0) {
        PrintError("Error accessing key.", status);
        return status;
    }
    PrintInfoLine("Subject : ", subject);
    PrintInfoLine("Issuer : ", issuer);
    PrintInfoLine("Serial number : ", serial);
    PrintInfoLine("Not before : ", notBefore);
    PrintInfoLine("Not after : ", notAfter, true);
    return 0;
}
