#include "crypto/certificate_der.h"

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <climits>
#include <memory>

namespace sim {

std::optional<std::string> CertificateToDer(std::string_view pemOrDer) {
    if (pemOrDer.empty() || pemOrDer.size() > INT_MAX) return std::nullopt;
    std::unique_ptr<BIO, decltype(&BIO_free)> bio(
        BIO_new_mem_buf(pemOrDer.data(), static_cast<int>(pemOrDer.size())), &BIO_free);
    if (!bio) return std::nullopt;
    std::unique_ptr<X509, decltype(&X509_free)> cert(
        PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr), &X509_free);
    if (!cert) {
        const auto *p = reinterpret_cast<const unsigned char *>(pemOrDer.data());
        cert.reset(d2i_X509(nullptr, &p, static_cast<long>(pemOrDer.size())));
    }
    if (!cert) return std::nullopt;
    unsigned char *der = nullptr;
    int length = i2d_X509(cert.get(), &der);
    if (length <= 0) return std::nullopt;
    std::string out(reinterpret_cast<char *>(der), static_cast<size_t>(length));
    OPENSSL_free(der);
    return out;
}

}  // namespace sim
