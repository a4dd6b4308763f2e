// The HSM's TLS certificate, taken from a handshake without logging in.

#include <unistd.h>

#include <string>

#include "abi_guard.h"
#include "library_memory.h"
#include "qelvoarc.h"
#include "tcp_connect.h"
#include "tls_client.h"

namespace qelvoarc {
namespace {

[[nodiscard]] uint32_t GetHsmTlsCert(const char *address, uint32_t port, uint32_t format,
                                     uint8_t **data, uint32_t *length) {
    if (data == nullptr || length == nullptr ||
        (format != Q_CERT_FORMAT_DER && format != Q_CERT_FORMAT_PEM))
        return wire::ERR_INVALID_PARAMETER;
    SslCtxPtr ctx;
    uint32_t status = MakeClientContext(nullptr, &ctx);
    if (status != wire::OK) return status;
    int fd = -1;
    status = ConnectTcp(address, port, TcpOptions{}, &fd);
    if (status != wire::OK) return status;
    X509Ptr cert;
    {
        SslPtr ssl;
        status = Handshake(ctx.get(), fd, &ssl);
        if (status == wire::OK) {
            cert.reset(SSL_get1_peer_certificate(ssl.get()));
            if (cert == nullptr) status = wire::ERR_TLS;
        }
    }
    ::close(fd);
    if (status != wire::OK) return status;
    std::string encoded;
    if (!EncodeCertificate(cert.get(), format == Q_CERT_FORMAT_PEM, &encoded))
        return wire::ERR_INTERNAL;
    void *copy = CopyToLibraryMemory(encoded.data(), encoded.size());
    if (copy == nullptr) return wire::ERR_NO_MEMORY;
    *data = static_cast<uint8_t *>(copy);
    *length = static_cast<uint32_t>(encoded.size());
    return wire::OK;
}

}  // namespace
}  // namespace qelvoarc

extern "C" {

uint32_t QGetHSMTLSCert(const char *address, uint32_t port, uint32_t format, uint8_t **data,
                        uint32_t *length, uint32_t) {
    return qelvoarc::Guarded(
        [&] { return qelvoarc::GetHsmTlsCert(address, port, format, data, length); });
}

}  // extern "C"
