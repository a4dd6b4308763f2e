#include "crypto/certificate_der.h"

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <climits>
#include <memory>

namespace sim {

namespace {

using X509Ptr = std::unique_ptr<X509, decltype(&X509_free)>;

X509Ptr ParsePem(std::string_view text) {
    std::unique_ptr<BIO, decltype(&BIO_free)> bio(
        BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), &BIO_free);
    if (!bio) return X509Ptr(nullptr, &X509_free);
    return X509Ptr(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr), &X509_free);
}

X509Ptr ParseWholeDer(std::string_view der) {
    const auto *p = reinterpret_cast<const unsigned char *>(der.data());
    X509Ptr cert(d2i_X509(nullptr, &p, static_cast<long>(der.size())), &X509_free);
    if (cert && p != reinterpret_cast<const unsigned char *>(der.data() + der.size())) cert.reset();
    return cert;
}

}  // namespace

std::optional<std::string> CertificateToDer(std::string_view pemOrDer) {
    if (pemOrDer.empty() || pemOrDer.size() > INT_MAX) return std::nullopt;
    X509Ptr cert = ParsePem(pemOrDer);
    if (!cert) cert = ParseWholeDer(pemOrDer);
    if (!cert || X509_get0_pubkey(cert.get()) == nullptr) return std::nullopt;
    unsigned char *der = nullptr;
    int length = i2d_X509(cert.get(), &der);
    if (length <= 0) return std::nullopt;
    std::string out(reinterpret_cast<char *>(der), static_cast<size_t>(length));
    OPENSSL_free(der);
    return out;
}

}  // namespace sim
