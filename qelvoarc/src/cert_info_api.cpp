// Fields of a certificate, read locally (no session, before QInitialize too): what the key
// information screen shows of a certificate object exported as DER.

#include <openssl/asn1.h>
#include <openssl/bn.h>
#include <openssl/x509.h>

#include <cstring>
#include <ctime>
#include <new>
#include <string>
#include <string_view>

#include "abi_guard.h"
#include "qelvoarc.h"
#include "tls_client.h"

namespace qelvoarc {
namespace {

// OpenSSL's text results, released with OPENSSL_free.
std::string TakeText(char *text) {
    if (text == nullptr) throw std::bad_alloc();
    std::string copy(text);
    OPENSSL_free(text);
    return copy;
}

// A distinguished name in the "/CN=.../O=..." form the library takes elsewhere.
std::string NameText(const X509_NAME *name) {
    return TakeText(X509_NAME_oneline(name, nullptr, 0));
}

// The serial number in upper-case hexadecimal, without leading zeros.
std::string SerialText(const ASN1_INTEGER *serial) {
    BIGNUM *number = ASN1_INTEGER_to_BN(serial, nullptr);
    if (number == nullptr) throw std::bad_alloc();
    char *hex = BN_bn2hex(number);
    BN_free(number);
    return TakeText(hex);
}

// Seconds since 1970 UTC; a date before 1970 reads as 0.
uint64_t Seconds(const ASN1_TIME *time) {
    std::tm tm{};
    if (ASN1_TIME_to_tm(time, &tm) != 1) return 0;
    time_t seconds = timegm(&tm);
    return seconds < 0 ? 0 : static_cast<uint64_t>(seconds);
}

[[nodiscard]] uint32_t PutText(const std::string &text, void *out, uint32_t *outLength) {
    auto needed = static_cast<uint32_t>(text.size() + 1);
    if (*outLength < needed) {
        *outLength = needed;
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(out, text.c_str(), needed);
    *outLength = needed;
    return wire::OK;
}

[[nodiscard]] uint32_t PutSeconds(uint64_t seconds, void *out, uint32_t *outLength) {
    if (*outLength < sizeof seconds) {
        *outLength = sizeof seconds;
        return wire::ERR_BUFFER_TOO_SMALL;
    }
    std::memcpy(out, &seconds, sizeof seconds);
    *outLength = sizeof seconds;
    return wire::OK;
}

[[nodiscard]] uint32_t CertInfo(const uint8_t *bytes, uint32_t length, uint32_t info, void *out,
                                uint32_t *outLength) {
    if (bytes == nullptr || outLength == nullptr || (out == nullptr && *outLength != 0))
        return wire::ERR_INVALID_PARAMETER;
    X509Ptr cert =
        ParseCertificate(std::string_view(reinterpret_cast<const char *>(bytes), length));
    if (cert == nullptr) return wire::ERR_BAD_CERTIFICATE;
    switch (info) {
        case Q_CERT_INFO_SUBJECT:
            return PutText(NameText(X509_get_subject_name(cert.get())), out, outLength);
        case Q_CERT_INFO_ISSUER:
            return PutText(NameText(X509_get_issuer_name(cert.get())), out, outLength);
        case Q_CERT_INFO_SERIAL:
            return PutText(SerialText(X509_get0_serialNumber(cert.get())), out, outLength);
        case Q_CERT_INFO_NOT_BEFORE:
            return PutSeconds(Seconds(X509_get0_notBefore(cert.get())), out, outLength);
        case Q_CERT_INFO_NOT_AFTER:
            return PutSeconds(Seconds(X509_get0_notAfter(cert.get())), out, outLength);
        default:
            return wire::ERR_INVALID_PARAMETER;
    }
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QCert2CertInfo(const uint8_t *cert, uint32_t certLength, uint32_t info, void *out,
                        uint32_t *outLength, uint32_t) {
    return qelvoarc::Guarded(
        [&] { return qelvoarc::CertInfo(cert, certLength, info, out, outLength); });
}

}  // extern "C"
